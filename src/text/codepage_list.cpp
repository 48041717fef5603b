// The well-known code pages, with display names from the module's string
// table.
#include "cadserv/codepage.h"
#include "cadserv/text.h"
#include "frame/module_state.h"
#include "platform/platform.h"
#include "resources/resource_ids.h"

namespace {

struct WellKnownCodePage {
  int32_t codePage;
  uint32_t nameId;
};

constexpr WellKnownCodePage kWellKnown[] = {
    {SERV_CP_DEFAULT, IDS_CODEPAGE_DEFAULT},
    {SERV_CP_PURE_ASCII, IDS_CODEPAGE_PURE_ASCII},
    {437, IDS_CODEPAGE_437},
    {850, IDS_CODEPAGE_850},
    {852, IDS_CODEPAGE_852},
    {1250, IDS_CODEPAGE_1250},
    {1251, IDS_CODEPAGE_1251},
    {1252, IDS_CODEPAGE_1252},
    {1253, IDS_CODEPAGE_1253},
    {1254, IDS_CODEPAGE_1254},
};
constexpr uint32_t kWellKnownCount = sizeof kWellKnown / sizeof kWellKnown[0];

// The size of the name block a caller receives.
constexpr int32_t kNameBlockBytes = 100;

}  // namespace

int32_t SERV_CodePageConvertInfo(uint32_t index, char** name, uint32_t, int32_t* codePage) {
  using namespace cadserv;
  if (index >= kWellKnownCount) {
    if (codePage != nullptr) *codePage = SERV_CP_DEFAULT;
    return 0;
  }
  if (codePage != nullptr) *codePage = kWellKnown[index].codePage;
  if (name == nullptr) return 0;
  char* block = static_cast<char*>(platform::LocalHeapAlloc(kNameBlockBytes));
  *name = block;
  if (block == nullptr) return 0;
  return platform::LoadModuleString(frame::ThisModule(), kWellKnown[index].nameId, block,
                                    kNameBlockBytes);
}
