// ACADinfo: the drawing description record that filters fill and read among
// themselves, and SERV_InitACADinfo, which gives it its defaults.
//
// The library reads and writes only the bounds, the unit values and
// abbreviation, the extrusion direction and the last flag; every other field
// is a filter setting or a filter area whose meaning belongs to the filters.
// The fields stand in this order with their natural alignment, on every
// target the same offsets (no pointers; doubles 8-aligned, also on 32-bit
// Windows): 1600 bytes in all.
#ifndef CADSERV_ACADINFO_H
#define CADSERV_ACADINFO_H

#include <stdint.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

#include "cadserv/export.h"

typedef struct ACADinfo {
  int32_t version;             // the argument of SERV_InitACADinfo
  int32_t filterSetting1;      // 1
  double bounds[6];            // x1, x2, the y pair, z1, z2: 0, 1, 0, 1, 0, 0 (SetBounds)
  double unitValues[4];        // 0, 0, 0, 0 (SetUnits)
  double filterSetting2[3];    // 1.0, 1.0, 1.0
  double filterSetting3[3];    // 0.0, 0.0, 0.0
  uint8_t filterSetting4;      // 0
  int32_t filterSetting5;      // 1
  int32_t filterSetting6;      // 1
  char unitAbbreviation[3];    // empty; at most two characters and the NUL (SetUnits)
  uint8_t filterSetting7;      // 0
  uint8_t filterArea1[4];      // 0
  int32_t filterSetting8;      // 0
  int32_t filterSetting9;      // 1200
  int32_t filterSetting10;     // 1200
  int32_t filterSetting11;     // 0
  uint8_t filterArea2[1028];   // 0
  int32_t filterSetting12;     // 1
  double filterSetting13;      // 1.0
  double filterSetting14;      // 0.0
  double filterSetting15[2];   // 0.0, 0.0
  double filterSetting16[2];   // 1.0, 1.0
  double filterSetting17[2];   // 0.5, 0.5
  double filterSetting18[2];   // 0.0, 0.0
  double filterSetting19[4];   // 0.1, 0.1, 0.1, 0.1
  double extrusion[3];         // x, y, z: 0, 0, 1 (read by BeginDrawing)
  double filterSetting20[3];   // 0, 0, 0
  double filterSetting21;      // 5.0
  double filterSetting22;      // 1.0
  double filterSetting23;      // 50.0
  double filterSetting24[4];   // 0, 0, 0, 0
  double filterSetting25;      // 0.0
  int32_t filterSetting26[8];  // 0, 100, 1, 0, 1, 1, 0, 0
  double matrix[3][4];         // rows (1, 0, 0, 0), (0, 1, 0, 0), (0, 0, 1, 0)
  uint8_t versionIsNot8;       // 1 unless the version is 8
  uint8_t filterArea3[39];     // 0
} ACADinfo;

// Clears the whole record (padding included), writes the defaults above and
// `version`, and returns the last flag: true unless `version` is 8. A null
// record is left alone and gives false.
CADSERV_CAPI bool SERV_InitACADinfo(ACADinfo* info, int32_t version);

#endif  // CADSERV_ACADINFO_H
