// The text form of the per-user settings store: what is written, what reads
// back, and that anything else reads as an empty store.
#include "platform/posix/settings_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using cadserv::platform::FormatSettingsText;
using cadserv::platform::ParseSettingsText;
using cadserv::platform::SettingsKeyEntry;
using cadserv::platform::SettingsTree;
using cadserv::platform::SettingsValue;

const char kParameters[] = "[CLSID\\{6A1C3E50-2D47-4B19-9E83-51C27F04D621}\\Parameters]\n";

SettingsValue Value(const std::u16string& name, uint32_t type, const std::string& data) {
  SettingsValue value;
  value.name = name;
  value.type = type;
  value.data = data;
  return value;
}

void Add(SettingsTree* tree, const std::vector<std::u16string>& path, const SettingsValue& value) {
  tree->AddKey(path, nullptr)->SetValue(value);
}

// Keys, value names, types and bytes, exactly.
void ExpectSameTree(const SettingsTree& a, const SettingsTree& b) {
  ASSERT_EQ(a.keys().size(), b.keys().size());
  for (size_t k = 0; k < a.keys().size(); ++k) {
    const SettingsKeyEntry& x = a.keys()[k];
    const SettingsKeyEntry& y = b.keys()[k];
    EXPECT_EQ(x.path, y.path);
    ASSERT_EQ(x.values.size(), y.values.size());
    for (size_t v = 0; v < x.values.size(); ++v) {
      EXPECT_EQ(x.values[v].name, y.values[v].name);
      EXPECT_EQ(x.values[v].type, y.values[v].type);
      EXPECT_EQ(x.values[v].data, y.values[v].data);
    }
  }
}

TEST(SettingsText, WritesTheDocumentedForm) {
  SettingsTree tree;
  std::vector<std::u16string> path = {u"CLSID", u"{6A1C3E50-2D47-4B19-9E83-51C27F04D621}",
                                      u"Parameters"};
  Add(&tree, path, Value(u"InputCP", 4, std::string("\xE2\x04\x01\x00", 4)));
  Add(&tree, path, Value(u"Title", 1, std::string("T\0e\0x\0t\0\0\0", 10)));
  Add(&tree, path, Value(u"Blob", 3, std::string("\x01\x02\xFF", 3)));
  Add(&tree, path, Value(u"", 7, std::string("A\0\0\0", 4)));
  EXPECT_EQ(FormatSettingsText(tree),
            std::string("; cadserv settings 1\n"
                        "[CLSID]\n"
                        "[CLSID\\{6A1C3E50-2D47-4B19-9E83-51C27F04D621}]\n") +
                kParameters +
                "\"InputCP\"=dword:000104e2\n"
                "\"Title\"=\"Text\"\n"
                "\"Blob\"=hex:01,02,ff\n"
                "\"\"=hex(7):41,00,00,00\n");
}

// Whatever a filter stores comes back byte for byte, whatever the names hold.
TEST(SettingsText, RoundTripsAnyNamesTypesAndBytes) {
  SettingsTree tree;
  const std::u16string odd = u"%\"[]\\\n\t\x7F \u00E9\U0001F600";
  const std::u16string loneSurrogates =
      std::u16string(u"a") + char16_t(0xD800) + u"b" + char16_t(0xDC00);
  Add(&tree, {}, Value(u"at the root", 4, std::string("\0\0\0\0", 4)));
  Add(&tree, {u"Software", u"Vendor \u00C4pfel"}, Value(odd, 1, std::string("%\0\"\0\n\0\0\0", 8)));
  Add(&tree, {u"Software", u"Vendor \u00C4pfel"}, Value(loneSurrogates, 3, ""));
  Add(&tree, {u"Software", u"odd " + odd.substr(0, 4) + odd.substr(5)},  // no '\\' in a key name
      Value(u"", 0x12345678, std::string("\x00\xFF", 2)));
  Add(&tree, {u"Types"}, Value(u"short dword", 4, std::string("\x52\x03", 2)));
  Add(&tree, {u"Types"}, Value(u"long dword", 4, std::string("12345", 5)));
  Add(&tree, {u"Types"}, Value(u"text without terminator", 1, std::string("a\0b\0", 4)));
  Add(&tree, {u"Types"}, Value(u"text with inner NUL", 1, std::string("a\0\0\0b\0\0\0", 8)));
  Add(&tree, {u"Types"}, Value(u"odd-sized text", 1, std::string("a\0\0", 3)));
  Add(&tree, {u"Types"}, Value(u"empty text", 1, std::string("\0\0", 2)));
  Add(&tree, {u"Types"}, Value(u"lone surrogate text", 1, std::string("\x00\xD8\0\0", 4)));
  Add(&tree, {u"Empty"}, Value(u"none", 0, ""));
  tree.AddKey({u"Key without values"}, nullptr);

  std::string text = FormatSettingsText(tree);
  SettingsTree back;
  ASSERT_TRUE(ParseSettingsText(text, &back)) << text;
  ExpectSameTree(tree, back);
  EXPECT_EQ(FormatSettingsText(back), text);
}

TEST(SettingsText, ReadsHandEditedFiles) {
  // CR LF line ends, comments, blank lines, a key named in another case
  // twice, and a key whose parents are not listed.
  std::string text = std::string("; cadserv settings 1\r\n") + "; my choices\r\n\r\n" +
                     kParameters +
                     "\"InputCP\"=dword:000004E2\r\n"
                     "[clsid\\{6a1c3e50-2d47-4b19-9e83-51c27f04d621}\\PARAMETERS]\n"
                     "\"inputcp\"=dword:00000352\n"
                     "\"OutputCP\"=\"caf\xC3\xA9 %25\"\n";
  SettingsTree tree;
  ASSERT_TRUE(ParseSettingsText(text, &tree));
  ASSERT_EQ(tree.keys().size(), 4u);  // root, CLSID, the class id, Parameters
  const SettingsKeyEntry* key =
      tree.FindKey(u"CLSID\\{6A1C3E50-2D47-4B19-9E83-51C27F04D621}\\Parameters");
  ASSERT_NE(key, nullptr);
  ASSERT_EQ(key->values.size(), 2u);
  EXPECT_EQ(key->values[0].name, u"InputCP");  // first spelling kept, last value wins
  EXPECT_EQ(key->values[0].data, std::string("\x52\x03\x00\x00", 4));
  EXPECT_EQ(key->values[1].type, 1u);
  EXPECT_EQ(key->values[1].data, std::string("c\0a\0f\0\xE9\0 \0%\0\0\0", 14));
}

TEST(SettingsText, AnythingElseReadsAsEmpty) {
  const std::string header = "; cadserv settings 1\n";
  const std::string bad[] = {
      "",
      "\n",
      "; cadserv settings 2\n",
      "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\CLSID]\n",
      "\x7F"
      "ELF\x02\x01\x01",
      header + "\"InputCP\"=dword:00000001\n",  // a value before any key
      header + kParameters + "\"InputCP\"=dword:0000001\n",
      header + kParameters + "\"InputCP\"=dword:000000001\n",
      header + kParameters + "\"InputCP\"=dword:0000000g\n",
      header + kParameters + "\"InputCP\"=qword:0000000000000001\n",
      header + kParameters + "\"Blob\"=hex:01,\n",
      header + kParameters + "\"Blob\"=hex:1\n",
      header + kParameters + "\"Blob\"=hex:01;02\n",
      header + kParameters + "\"Blob\"=hex(123456789):01\n",
      header + kParameters + "\"Blob\"=hex():01\n",
      header + kParameters + "\"Text\"=\"a\"b\"\n",
      header + kParameters + "\"Text\"=\"a\n",
      header + kParameters + "\"Te\"xt\"=dword:00000001\n",
      header + kParameters + "\"Text\"=\"%4\"\n",
      header + kParameters + "\"Text\"=\"%zz\"\n",
      header + kParameters + "\"Text\"=\"\xC0\x80\"\n",          // overlong
      header + kParameters + "\"Text\"=\"\x80\"\n",              // continuation alone
      header + kParameters + "\"Text\"=\"\xF5\x80\x80\x80\"\n",  // beyond U+10FFFF
      header + kParameters + "\"Text\"=\"\xE2\x82\"\n",          // cut sequence
      header + kParameters + "\"Tab\tname\"=dword:00000001\n",   // control character
      header + kParameters + "InputCP=dword:00000001\n",
      header + "[CLSID\\\\Parameters]\n",
      header + "[\\CLSID]\n",
      header + "[CLSID\\]\n",
      header + "[CLSID\n",
      header + "[CL]SID]\n",
      header + "CLSID\n",
  };
  for (const std::string& text : bad) {
    SettingsTree tree;
    tree.AddKey({u"left over"}, nullptr);
    EXPECT_FALSE(ParseSettingsText(text, &tree)) << text;
    EXPECT_EQ(tree.keys().size(), 1u) << text;  // the root alone
    EXPECT_TRUE(tree.keys()[0].values.empty());
  }
}

// A file cut short anywhere but at a line end is not taken for a smaller
// store: every line must be whole, since a cut "dword:000104" would be a
// different number.
TEST(SettingsText, TruncatedFilesReadAsEmpty) {
  std::string text = std::string("; cadserv settings 1\n") + kParameters +
                     "\"InputCP\"=dword:000104e2\n\"Title\"=\"Text\"\n\"Blob\"=hex:01,02\n";
  for (size_t size = 0; size < text.size(); ++size) {
    SettingsTree tree;
    bool atLineEnd = size > 0 && text[size - 1] == '\n';
    EXPECT_EQ(ParseSettingsText(text.substr(0, size), &tree), atLineEnd) << size;
  }
}

}  // namespace
