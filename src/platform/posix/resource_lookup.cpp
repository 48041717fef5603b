#include "platform/posix/resource_lookup.h"

#include "platform/platform.h"

namespace cadserv::platform {
namespace {

constexpr uint16_t kLangNeutral = 0x0000;
constexpr uint16_t kEnglishUnitedStates = 0x0409;

uint16_t PrimaryLanguage(uint16_t language) {
  return language & 0x3FF;
}

WCHAR UpperAscii(WCHAR c) {
  return (c >= 'a' && c <= 'z') ? static_cast<WCHAR>(c - 32) : c;
}

// A type or name asked for: a number, or a name ("#123" is the number 123).
struct Key {
  bool isNumber = true;
  uint32_t number = 0;
  const WCHAR* name = nullptr;
};

Key MakeKey(const WCHAR* typeOrName) {
  Key key;
  if (IsResourceId(typeOrName)) {
    key.number = static_cast<uint16_t>(reinterpret_cast<uintptr_t>(typeOrName));
    return key;
  }
  if (typeOrName[0] == '#' && typeOrName[1] != 0) {
    uint32_t number = 0;
    const WCHAR* p = typeOrName + 1;
    for (; *p >= '0' && *p <= '9' && number <= 0xFFFF; ++p) number = number * 10 + (*p - '0');
    if (*p == 0 && number <= 0xFFFF) {
      key.number = number;
      return key;
    }
  }
  key.isNumber = false;
  key.name = typeOrName;
  return key;
}

bool Matches(const Key& key, uint16_t id, const char16_t* name) {
  if (key.isNumber) return name == nullptr && id == key.number;
  if (name == nullptr) return false;
  const WCHAR* a = key.name;
  const char16_t* b = name;
  for (; *a != 0 && *b != 0; ++a, ++b) {
    if (UpperAscii(*a) != UpperAscii(*b)) return false;
  }
  return *a == 0 && *b == 0;
}

}  // namespace

const CadservResourceEntry* FindInDirectory(const CadservResourceDirectory& directory,
                                            const WCHAR* type, const WCHAR* name,
                                            uint16_t language) {
  if (type == nullptr || name == nullptr) return nullptr;
  Key typeKey = MakeKey(type);
  Key nameKey = MakeKey(name);
  const CadservResourceEntry* candidates[4] = {};  // exact, primary, neutral, en-US
  const CadservResourceEntry* any = nullptr;
  for (uint32_t i = 0; i < directory.count; ++i) {
    const CadservResourceEntry& entry = directory.entries[i];
    if (!Matches(typeKey, entry.typeId, entry.typeName) ||
        !Matches(nameKey, entry.nameId, entry.name)) {
      continue;
    }
    if (any == nullptr) any = &entry;
    if (entry.language == language && candidates[0] == nullptr) candidates[0] = &entry;
    if (entry.language == PrimaryLanguage(language) && candidates[1] == nullptr) {
      candidates[1] = &entry;
    }
    if (entry.language == kLangNeutral && candidates[2] == nullptr) candidates[2] = &entry;
    if (entry.language == kEnglishUnitedStates && candidates[3] == nullptr) candidates[3] = &entry;
  }
  for (int i = 0; i < 3; ++i) {
    if (candidates[i] != nullptr) return candidates[i];
  }
  if (PrimaryLanguage(language) != kLangNeutral) return nullptr;
  return candidates[3] != nullptr ? candidates[3] : any;
}

}  // namespace cadserv::platform
