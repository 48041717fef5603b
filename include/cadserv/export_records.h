// The parameter records that export filters exchange with the library, the
// special colour and line style values, the functions that reset the
// records, and the flag operators of sol_typeface.
//
// Each record opens with a 16-bit field holding its own size, written by its
// reset function. Fields stand in their documented order with natural
// alignment. "Filter areas" are bytes the library only clears; "filter
// settings" are fields it resets to a value but never reads; both belong to
// the filters. Sizes: EntityParms 128 bytes on 32-bit Windows, 144 on 64-bit
// targets; TextParms 192; LayerParms 36 / 40; ReferenceParms 48.
#ifndef CADSERV_EXPORT_RECORDS_H
#define CADSERV_EXPORT_RECORDS_H

#include <stdint.h>

#include "cadserv/com.h"
#include "cadserv/export.h"
#include "cadserv/geometry.h"

// Colours are 24-bit values (0x00000000-0x00FFFFFF) or one of these.
#define COLOR_UNSET 0x10000000u    // second colours after a reset
#define COLOR_DEFAULT 0x11000000u  // main colours after a reset; every unresolvable colour
#define BYLAYER 0x20000000u        // colour or line style of the entity's layer
#define BYBLOCK 0x21000000u        // colour or line style of the inserting block reference
// Line styles: 1 solid, 2-9 the predefined patterns, 256 and up registered
// patterns, -1 none, or BYLAYER / BYBLOCK.
#define LINESTYLE_CONTINUOUS 1

#ifdef __cplusplus

// An entity's own transformation: 4 x 4 doubles, row-vector convention.
typedef double ServMatrix[4][4];

struct EntityParms {
  uint16_t size;
  uint8_t filterArea1[38];
  uint32_t colour;        // COLOR_DEFAULT
  int32_t lineStyle;      // LINESTYLE_CONTINUOUS
  double filterSetting1;  // 1.0
  uint32_t secondColour;  // COLOR_UNSET
  int32_t mode1;          // 1
  int32_t mode2;          // 2
  int32_t mode3;          // 1
  int32_t mode4;          // 3
  int32_t mode5;          // 2
  int32_t curveType;      // 1; 2 Bezier, 3 cubic uniform spline, 4 B-spline, 6 chained Bezier
  uint8_t closed;         // 0
  uint8_t filterArea2[15];
  ServMatrix* matrix;    // none: the entity's own transformation, if it has one
  sol_point* basePoint;  // none: the base point of that transformation
  uint8_t filterArea3[4];
  uint8_t filterSetting2;  // 1
  uint8_t filterArea4[15];
};

// The library interprets none of these fields.
struct TextParms {
  uint16_t size;
  uint32_t textColour;     // COLOR_DEFAULT
  uint32_t secondColour;   // COLOR_UNSET
  int32_t filterSetting1;  // 1
  uint8_t filterArea1[88];
  int32_t filterSetting2;  // 400
  uint8_t filterArea2[8];
  int32_t filterSetting3;  // 1
  int32_t filterSetting4;  // 1
  uint8_t filterArea3[6];
  uint8_t filterSetting5;  // 1
  uint8_t filterSetting6;  // 0
  int32_t filterSetting7;  // 1
  uint8_t filterArea4[56];
};

// Also the element of the export support object's layer table.
struct LayerParms {
  uint16_t size;
  int32_t index;      // -1; position in the order of addition, 0-based
  WCHAR* name;        // none; NUL-terminated UTF-16
  uint8_t flag1;      // 0
  uint8_t flag2;      // 0
  uint32_t colour;    // COLOR_DEFAULT
  int32_t lineStyle;  // LINESTYLE_CONTINUOUS
  uint8_t filterArea[12];
};

// The library interprets none of these fields.
struct ReferenceParms {
  uint16_t size;
  int32_t filterSetting1;  // -1
  uint8_t filterArea1[24];
  uint8_t filterSetting2;  // 1
  uint8_t filterArea2[15];
};

// Each clears the whole record (and nothing beyond it) to zero, then writes
// the size and the reset values given beside the fields above. A null
// record is left alone.
CADSERV_CAPI void SERV_ResetEntityParms(EntityParms* parms);
CADSERV_CAPI void SERV_ResetTextParms(TextParms* parms);
CADSERV_CAPI void SERV_ResetLayerParms(LayerParms* parms);
CADSERV_CAPI void SERV_ResetReferenceParms(ReferenceParms* parms);

// Text style flags, 32 bits; their values belong to the filters.
enum sol_typeface : int32_t { sol_typeface_none = 0 };

// Each changes the operand in place and returns it: OR, AND, complement.
CADSERV_API sol_typeface& operator|=(sol_typeface& flags, int value);
CADSERV_API sol_typeface& operator&=(sol_typeface& flags, int value);
CADSERV_API sol_typeface& operator~(sol_typeface& flags);

#endif  // __cplusplus

#endif  // CADSERV_EXPORT_RECORDS_H
