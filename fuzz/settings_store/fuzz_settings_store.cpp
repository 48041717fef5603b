// Fuzz target: the text form of the per-user settings store, which anyone
// who can edit a file in the user's config folder controls.
//
// Input: the file's bytes. Whatever they are, parsing must not crash; a
// file that parses must write back to a text that parses to the same
// store and writes back to the same text again, and every key must be
// found again by its own path.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <string>

#include "platform/posix/settings_text.h"

namespace {

void Check(bool condition, const char* what) {
  if (!condition) {
    fprintf(stderr, "settings text: %s\n", what);
    abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace cadserv::platform;
  std::string text(reinterpret_cast<const char*>(data), size);
  SettingsTree tree;
  if (!ParseSettingsText(text, &tree)) {
    Check(tree.keys().size() == 1 && tree.keys()[0].values.empty(), "rejected file left data");
    return 0;
  }
  for (const SettingsKeyEntry& key : tree.keys()) {
    Check(tree.FindKey(key.path) == &key, "key not found by its own path");
    for (const SettingsValue& value : key.values) {
      Check(key.FindValue(value.name) == &value, "value not found by its own name");
    }
  }
  std::string written = FormatSettingsText(tree);
  SettingsTree again;
  Check(ParseSettingsText(written, &again), "written text does not parse");
  Check(again.keys().size() == tree.keys().size(), "key count changed");
  for (size_t k = 0; k < tree.keys().size(); ++k) {
    const SettingsKeyEntry& a = tree.keys()[k];
    const SettingsKeyEntry& b = again.keys()[k];
    Check(a.path == b.path && a.values.size() == b.values.size(), "key changed");
    for (size_t v = 0; v < a.values.size(); ++v) {
      Check(a.values[v].name == b.values[v].name && a.values[v].type == b.values[v].type &&
                a.values[v].data == b.values[v].data,
            "value changed");
    }
  }
  Check(FormatSettingsText(again) == written, "second writing differs");
  return 0;
}
