// The reset functions of the parameter records, and their fixed layouts.
#include <stddef.h>
#include <string.h>

#include "cadserv/export_records.h"

// Filters built by other compilers exchange these records with the library:
// sizes and the offsets it reads are fixed for 32-bit Windows and for
// 64-bit targets (where pointers are 8 bytes and 8-aligned).
#if defined(_WIN32) && !defined(_WIN64)
static_assert(offsetof(EntityParms, matrix) == 100 && offsetof(EntityParms, basePoint) == 104,
              "EntityParms pointers");
static_assert(sizeof(EntityParms) == 128, "EntityParms is 128 bytes");
static_assert(offsetof(LayerParms, flag1) == 12 && offsetof(LayerParms, colour) == 16 &&
                  offsetof(LayerParms, lineStyle) == 20,
              "LayerParms fields");
static_assert(sizeof(LayerParms) == 36, "LayerParms is 36 bytes");
#elif UINTPTR_MAX == 0xFFFFFFFFFFFFFFFFu
static_assert(offsetof(EntityParms, matrix) == 104 && offsetof(EntityParms, basePoint) == 112,
              "EntityParms pointers");
static_assert(sizeof(EntityParms) == 144, "EntityParms is 144 bytes");
static_assert(offsetof(LayerParms, flag1) == 16 && offsetof(LayerParms, colour) == 20 &&
                  offsetof(LayerParms, lineStyle) == 24,
              "LayerParms fields");
static_assert(sizeof(LayerParms) == 40, "LayerParms is 40 bytes");
#endif
static_assert(offsetof(EntityParms, colour) == 40 && offsetof(EntityParms, lineStyle) == 44 &&
                  offsetof(EntityParms, secondColour) == 56 &&
                  offsetof(EntityParms, curveType) == 80 && offsetof(EntityParms, closed) == 84,
              "EntityParms fields before the pointers");
static_assert(offsetof(LayerParms, index) == 4 && offsetof(LayerParms, name) == 8,
              "LayerParms index and name");
static_assert(sizeof(TextParms) == 192 && offsetof(TextParms, filterSetting7) == 132,
              "TextParms is 192 bytes");
static_assert(sizeof(ReferenceParms) == 48 && offsetof(ReferenceParms, filterSetting2) == 32,
              "ReferenceParms is 48 bytes");
static_assert(sizeof(sol_typeface) == 4, "sol_typeface is 32 bits");

void SERV_ResetEntityParms(EntityParms* parms) {
  if (parms == nullptr) return;
  memset(parms, 0, sizeof *parms);
  parms->size = sizeof *parms;
  parms->colour = COLOR_DEFAULT;
  parms->lineStyle = LINESTYLE_CONTINUOUS;
  parms->filterSetting1 = 1.0;
  parms->secondColour = COLOR_UNSET;
  parms->mode1 = 1;
  parms->mode2 = 2;
  parms->mode3 = 1;
  parms->mode4 = 3;
  parms->mode5 = 2;
  parms->curveType = 1;
  parms->matrix = nullptr;
  parms->basePoint = nullptr;
  parms->filterSetting2 = 1;
}

void SERV_ResetTextParms(TextParms* parms) {
  if (parms == nullptr) return;
  memset(parms, 0, sizeof *parms);
  parms->size = sizeof *parms;
  parms->textColour = COLOR_DEFAULT;
  parms->secondColour = COLOR_UNSET;
  parms->filterSetting1 = 1;
  parms->filterSetting2 = 400;
  parms->filterSetting3 = 1;
  parms->filterSetting4 = 1;
  parms->filterSetting5 = 1;
  parms->filterSetting7 = 1;
}

void SERV_ResetLayerParms(LayerParms* parms) {
  if (parms == nullptr) return;
  memset(parms, 0, sizeof *parms);
  parms->size = sizeof *parms;
  parms->index = -1;
  parms->name = nullptr;
  parms->colour = COLOR_DEFAULT;
  parms->lineStyle = LINESTYLE_CONTINUOUS;
}

void SERV_ResetReferenceParms(ReferenceParms* parms) {
  if (parms == nullptr) return;
  memset(parms, 0, sizeof *parms);
  parms->size = sizeof *parms;
  parms->filterSetting1 = -1;
  parms->filterSetting2 = 1;
}
