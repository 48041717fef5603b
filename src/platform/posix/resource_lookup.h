// Finding a resource in a module's resource directory, by type, name and
// language, as FindResourceExW finds one in a module's resource section.
#ifndef CADSERV_PLATFORM_POSIX_RESOURCE_LOOKUP_H
#define CADSERV_PLATFORM_POSIX_RESOURCE_LOOKUP_H

#include "cadserv/com.h"
#include "platform/resource_directory.h"

namespace cadserv::platform {

// The entry of `directory` for `type` and `name` (each a ResourceId or a
// name; "#123" stands for the number 123, and names match without regard to
// ASCII case) in `language`, with the fallbacks of FindModuleResource.
// Null when there is none.
const CadservResourceEntry* FindInDirectory(const CadservResourceDirectory& directory,
                                            const WCHAR* type, const WCHAR* name,
                                            uint16_t language);

}  // namespace cadserv::platform

#endif  // CADSERV_PLATFORM_POSIX_RESOURCE_LOOKUP_H
