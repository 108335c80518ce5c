# Warnings, sanitizers and the compiler cache, for every target of the project.
add_library(driftwell_compiler INTERFACE)
target_compile_options(driftwell_compiler INTERFACE -Wall -Wextra -Wconversion)
if(DRIFTWELL_WARNINGS_AS_ERRORS)
  target_compile_options(driftwell_compiler INTERFACE -Werror)
endif()
target_include_directories(driftwell_compiler INTERFACE ${CMAKE_SOURCE_DIR}/src)
# Queued calls and signals must say where they run; string literals must say what they are.
target_compile_definitions(driftwell_compiler INTERFACE QT_NO_KEYWORDS QT_NO_CONTEXTLESS_CONNECT)

if(DRIFTWELL_SANITIZE)
  target_compile_options(driftwell_compiler INTERFACE
    -fsanitize=${DRIFTWELL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  target_link_options(driftwell_compiler INTERFACE -fsanitize=${DRIFTWELL_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 warns of its own instrumentation here, and of strings put together between it.
    target_compile_options(driftwell_compiler INTERFACE
      -Wno-maybe-uninitialized -Wno-array-bounds -Wno-stringop-overflow -Wno-restrict -Wno-tsan)
  else()
    # Clang 14 cannot assemble the check of function types in coroutines.
    target_compile_options(driftwell_compiler INTERFACE -fno-sanitize=function)
  endif()
endif()

if(DRIFTWELL_PACKAGES)
  # What is built must not tell where that was.
  foreach(option -ffile-prefix-map=${CMAKE_BINARY_DIR}=build -ffile-prefix-map=${CMAKE_SOURCE_DIR}=.)
    add_compile_options(${option})
  endforeach()
endif()

find_program(CCACHE ccache)
if(CCACHE)
  # ccache wants both before it keeps anything that was compiled with precompiled headers.
  set(CMAKE_CXX_COMPILER_LAUNCHER
    env CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${CCACHE})
  if(NOT CMAKE_DISABLE_PRECOMPILE_HEADERS AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(driftwell_compiler INTERFACE -fpch-preprocess)
  endif()
endif()

# driftwell_room(NAME SOURCES … USES …): one folder under src/ as one static library. USES names the rooms above it and
# the libraries it may include; a room that is not named cannot be linked. PRECOMPILED is the kind of its precompiled
# headers, model if it is not named.
function(driftwell_room name)
  cmake_parse_arguments(ROOM "" "PRECOMPILED" "SOURCES;USES;PRIVATE" ${ARGN})
  if(NOT ROOM_PRECOMPILED)
    set(ROOM_PRECOMPILED model)
  endif()
  add_library(driftwell_${name} STATIC ${ROOM_SOURCES})
  target_link_libraries(driftwell_${name} PUBLIC driftwell_compiler ${ROOM_USES} PRIVATE ${ROOM_PRIVATE})
  if(NOT ROOM_PRECOMPILED STREQUAL "none")
    driftwell_use_precompiled(driftwell_${name} ${ROOM_PRECOMPILED})
  endif()
endfunction()
