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
    # GCC 12 warns of its own instrumentation here.
    target_compile_options(driftwell_compiler INTERFACE -Wno-maybe-uninitialized -Wno-tsan)
  else()
    # Clang 14 cannot assemble the check of function types in coroutines.
    target_compile_options(driftwell_compiler INTERFACE -fno-sanitize=function)
  endif()
endif()

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

# driftwell_room(NAME SOURCES … USES …): one folder under src/ as one static library. USES names the rooms above it and
# the libraries it may include; a room that is not named cannot be linked.
function(driftwell_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;USES;PRIVATE" ${ARGN})
  add_library(driftwell_${name} STATIC ${ROOM_SOURCES})
  target_link_libraries(driftwell_${name} PUBLIC driftwell_compiler ${ROOM_USES} PRIVATE ${ROOM_PRIVATE})
endfunction()
