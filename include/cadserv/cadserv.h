// cadserv: the shared services of the CAD import and export filters.
// Umbrella header: includes every public header.
#ifndef CADSERV_CADSERV_H
#define CADSERV_CADSERV_H

#include "cadserv/acadinfo.h"
#include "cadserv/arbitrary_axes.h"
#include "cadserv/codepage.h"
#include "cadserv/com.h"
#include "cadserv/entity_context.h"
#include "cadserv/export.h"
#include "cadserv/export_records.h"
#include "cadserv/export_support.h"
#include "cadserv/geometry.h"
#include "cadserv/guids.h"
#include "cadserv/lines.h"
#include "cadserv/map3d.h"
#include "cadserv/registry.h"
#include "cadserv/server.h"
#include "cadserv/settings.h"
#include "cadserv/stream.h"
#include "cadserv/text.h"
#include "cadserv/xref.h"

#endif  // CADSERV_CADSERV_H
