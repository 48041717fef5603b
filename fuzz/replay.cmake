# Each fuzz/<target>/ folder holds fuzz_<target>.cpp and a seed corpus in
# corpus/. Here every target is also built with a replay main() and runs its
# corpus as a CTest test, in every preset.
file(GLOB _fuzz_dirs LIST_DIRECTORIES true ${PROJECT_SOURCE_DIR}/fuzz/*)
foreach(_dir IN LISTS _fuzz_dirs)
  if(NOT IS_DIRECTORY ${_dir})
    continue()
  endif()
  get_filename_component(_target ${_dir} NAME)
  set(_source ${_dir}/fuzz_${_target}.cpp)
  if(NOT EXISTS ${_source})
    continue()
  endif()
  add_executable(replay_${_target} ${_source} ${PROJECT_SOURCE_DIR}/fuzz/replay_main.cpp)
  target_include_directories(replay_${_target} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(replay_${_target} PRIVATE cadserv_objects)
  add_test(NAME FuzzReplay.${_target} COMMAND replay_${_target} ${_dir}/corpus)
endforeach()
