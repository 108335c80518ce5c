# Library headers that most sources of a kind include are compiled once. Sources still include what they use: `./dev lint`
# compiles them without this. nlohmann/json.hpp stays out, because every source would instantiate its parser.
# Clang would take them only for sources with the very same macros.
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()

set(DRIFTWELL_STANDARD_HEADERS
  <algorithm> <array> <atomic> <chrono> <deque> <exception> <filesystem> <fstream> <functional> <iterator> <map> <memory>
  <mutex> <optional> <random> <set> <sstream> <stdexcept> <stop_token> <string> <string_view> <system_error> <thread>
  <utility> <variant> <vector>)
set(model_headers
  ${DRIFTWELL_STANDARD_HEADERS}
  <QByteArray> <QCoreApplication> <QObject> <QPointer> <QProperty> <QString> <QStringList> <QTimer> <QUrl>
  <QCoroTask>)
set(window_headers
  ${model_headers}
  <QAbstractListModel> <QColor> <QDBusConnection> <QDBusMessage> <QGuiApplication> <QQmlEngine> <QQuickItem> <QQuickView>
  <QWindow> <QtQml/qqmlregistration.h>)
set(test_headers <gmock/gmock.h> <gtest/gtest.h>)

# driftwell_precompile(KIND HEADERS … USES … READS …): USES are the libraries that every target with this kind links. GCC
# takes the headers only for a source with all of their macros, so of what not every one links, READS, only the folders
# count.
function(driftwell_precompile kind)
  cmake_parse_arguments(KIND "" "" "HEADERS;USES;READS" ${ARGN})
  # CMake wants a source next to the headers.
  set(source ${CMAKE_BINARY_DIR}/precompiled/${kind}.cpp)
  file(CONFIGURE OUTPUT ${source} CONTENT "")
  add_library(driftwell_precompiled_${kind} OBJECT EXCLUDE_FROM_ALL ${source})
  target_precompile_headers(driftwell_precompiled_${kind} PRIVATE ${KIND_HEADERS})
  target_link_libraries(driftwell_precompiled_${kind} PRIVATE driftwell_compiler ${KIND_USES})
  foreach(library ${KIND_READS})
    target_include_directories(driftwell_precompiled_${kind} SYSTEM PRIVATE
      $<TARGET_PROPERTY:${library},INTERFACE_INCLUDE_DIRECTORIES>)
  endforeach()
  set_target_properties(driftwell_precompiled_${kind} PROPERTIES AUTOMOC OFF)
endfunction()

set(model_libraries Qt6::Core QCoro6::Core)
set(window_libraries Qt6::DBus Qt6::Gui Qt6::Quick)
driftwell_precompile(model HEADERS ${model_headers} USES ${model_libraries})
driftwell_precompile(window HEADERS ${window_headers} USES ${model_libraries} READS ${window_libraries})
if(DRIFTWELL_TESTS)
  find_package(GTest 1.12 REQUIRED)
  driftwell_precompile(test HEADERS ${model_headers} ${test_headers} USES ${model_libraries} GTest::gmock)
  driftwell_precompile(window_test
    HEADERS ${window_headers} ${test_headers}
    USES ${model_libraries} GTest::gmock
    READS ${window_libraries})
endif()

# driftwell_use_precompiled(TARGET KIND): model, window, test or window_test.
function(driftwell_use_precompiled target kind)
  target_precompile_headers(${target} REUSE_FROM driftwell_precompiled_${kind})
endfunction()
