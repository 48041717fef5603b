// The library's own class and interface identifiers: one family, defined
// here only. The values are fixed forever: hosts and stored settings keys
// refer to them. They share the first fields and differ in the last byte.
#ifndef CADSERV_GUIDS_H
#define CADSERV_GUIDS_H

#include "cadserv/com.h"

#define CADSERV_GUID(last) {0x6A1C3E50, 0x2D47, 0x4B19, {0x9E, 0x83, 0x51, 0xC2, 0x7F, 0x04, 0xD6, last}}

// Stream interfaces.
constexpr IID IID_IServStream = CADSERV_GUID(0x01);
constexpr IID IID_IServFileStream = CADSERV_GUID(0x02);
constexpr IID IID_IServMemoryStream = CADSERV_GUID(0x03);
// Export support and raster reading.
constexpr IID IID_IExportSupport = CADSERV_GUID(0x10);
constexpr IID IID_IRasterReader = CADSERV_GUID(0x11);
// Text Mapping page and the settings key it edits.
constexpr CLSID CLSID_TextMappingPage = CADSERV_GUID(0x20);
constexpr CLSID CLSID_TextMappingSettings = CADSERV_GUID(0x21);

#undef CADSERV_GUID

#endif  // CADSERV_GUIDS_H
