# Library sources: every .cpp under the portable subsystem folders plus the
# platform backend of the target system.
find_package(Threads REQUIRED)
set(_subsystems frame text settings streams geometry curves export imaging)
set(CADSERV_SOURCES "")
foreach(_dir IN LISTS _subsystems)
  file(GLOB _files CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/src/${_dir}/*.cpp)
  list(APPEND CADSERV_SOURCES ${_files})
endforeach()
file(GLOB _files CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/src/platform/*.cpp)
list(APPEND CADSERV_SOURCES ${_files})
if(WIN32)
  file(GLOB _files CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/src/platform/win32/*.cpp)
else()
  file(GLOB _files CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/src/platform/posix/*.cpp)
endif()
list(APPEND CADSERV_SOURCES ${_files})

# The module's resources: src/resources/cadserv.rc is their one source. On
# Windows the resource compiler builds it into the DLL; elsewhere
# rc_compile.py turns it into a resource directory compiled into the module
# and exported under a well-known symbol (src/platform/resource_directory.h).
set(CADSERV_RESOURCE_SCRIPT ${CMAKE_CURRENT_SOURCE_DIR}/src/resources/cadserv.rc)
if(WIN32)
  list(APPEND CADSERV_SOURCES ${CADSERV_RESOURCE_SCRIPT})
else()
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  set(_generated ${CMAKE_CURRENT_BINARY_DIR}/generated/cadserv_resources.cpp)
  add_custom_command(
    OUTPUT ${_generated}
    COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/src/resources/rc_compile.py
            ${CADSERV_RESOURCE_SCRIPT} -o ${_generated} --depfile ${_generated}.d
    MAIN_DEPENDENCY ${CADSERV_RESOURCE_SCRIPT}
    DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/src/resources/rc_compile.py
    DEPFILE ${_generated}.d
    COMMENT "Compiling the resource script cadserv.rc"
    VERBATIM)
  list(APPEND CADSERV_SOURCES ${_generated})
endif()
