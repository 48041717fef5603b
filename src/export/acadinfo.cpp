// The drawing description record's defaults and its fixed layout.
#include "cadserv/acadinfo.h"

#include <stddef.h>
#include <string.h>

// Filters built by other compilers read the record, so the offsets that the
// library itself touches are fixed. They are the same on 32-bit Windows and
// on 64-bit targets: the record holds no pointers and every double is
// 8-aligned on both. (A 32-bit target that aligns doubles to 4, such as
// i386 Linux, would not share the layout and is not a target.)
#if defined(_WIN32) || UINTPTR_MAX == 0xFFFFFFFFFFFFFFFFu
static_assert(offsetof(ACADinfo, version) == 0, "ACADinfo.version");
static_assert(offsetof(ACADinfo, bounds) == 8, "ACADinfo.bounds");
static_assert(offsetof(ACADinfo, unitValues) == 56, "ACADinfo.unitValues");
static_assert(offsetof(ACADinfo, unitAbbreviation) == 148, "ACADinfo.unitAbbreviation");
static_assert(offsetof(ACADinfo, filterArea2) == 172, "ACADinfo.filterArea2");
static_assert(offsetof(ACADinfo, filterSetting13) == 1208, "ACADinfo.filterSetting13");
static_assert(offsetof(ACADinfo, extrusion) == 1320, "ACADinfo.extrusion");
static_assert(offsetof(ACADinfo, matrix) == 1464, "ACADinfo.matrix");
static_assert(offsetof(ACADinfo, versionIsNot8) == 1560, "ACADinfo.versionIsNot8");
static_assert(sizeof(ACADinfo) == 1600, "ACADinfo is 1600 bytes");
#endif

bool SERV_InitACADinfo(ACADinfo* info, int32_t version) {
  if (info == nullptr) return false;
  memset(info, 0, sizeof *info);
  info->version = version;
  info->filterSetting1 = 1;
  info->bounds[1] = 1.0;
  info->bounds[3] = 1.0;
  for (double& value : info->filterSetting2) value = 1.0;
  info->filterSetting5 = 1;
  info->filterSetting6 = 1;
  info->filterSetting9 = 1200;
  info->filterSetting10 = 1200;
  info->filterSetting12 = 1;
  info->filterSetting13 = 1.0;
  for (double& value : info->filterSetting16) value = 1.0;
  for (double& value : info->filterSetting17) value = 0.5;
  for (double& value : info->filterSetting19) value = 0.1;
  info->extrusion[2] = 1.0;
  info->filterSetting21 = 5.0;
  info->filterSetting22 = 1.0;
  info->filterSetting23 = 50.0;
  const int32_t settings26[8] = {0, 100, 1, 0, 1, 1, 0, 0};
  memcpy(info->filterSetting26, settings26, sizeof settings26);
  for (int row = 0; row < 3; ++row) info->matrix[row][row] = 1.0;
  info->versionIsNot8 = version != 8;
  return info->versionIsNot8 != 0;
}
