# SPDX-License-Identifier: GPL-3.0-or-later
# What every target of the program shares.

add_library(ondarix_options INTERFACE)
target_compile_options(ondarix_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual -Werror)
target_compile_definitions(ondarix_options INTERFACE
  QT_NO_CAST_FROM_BYTEARRAY QT_NO_FOREACH QT_NO_KEYWORDS ONDARIX_VERSION="${PROJECT_VERSION}")
target_include_directories(ondarix_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
# The compiler's own manual warns of false "maybe uninitialized" under its sanitizers; release builds keep the warning.
if(ONDARIX_SANITIZE)
  target_compile_options(ondarix_options INTERFACE
    -fsanitize=${ONDARIX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -Wno-maybe-uninitialized)
  target_link_options(ondarix_options INTERFACE -fsanitize=${ONDARIX_SANITIZE})
endif()

# One library for each folder under src, of all the sources in it. Qt's headers are precompiled where the
# folder may use Qt. Inner loops live in these folders, and -O2 of GCC 12 does not unroll and vectorise them.
function(ondarix_library folder)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${folder}/*.cpp ${PROJECT_SOURCE_DIR}/src/${folder}/*.h)
  add_library(ondarix_${folder} STATIC ${sources})
  target_link_libraries(ondarix_${folder} PUBLIC ondarix_options ${ARGN})
  if(CMAKE_BUILD_TYPE STREQUAL "Release")
    target_compile_options(ondarix_${folder} PRIVATE -O3)
  endif()
  if(NOT folder STREQUAL "dsp")
    target_precompile_headers(ondarix_${folder} PRIVATE <QString> <QByteArray> <QStringList> <QFile> <QDir>
      <atomic> <cstdint> <memory> <mutex> <vector>)
  endif()
  set_target_properties(ondarix_${folder} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 6)
endfunction()

# One GoogleTest program for each folder under tests: test_<folder>.
set(ONDARIX_SERVER_SUITES_devices Jack.* PipeWireServers.* PulseAudio.* AlsaInRealTime.*
  PlayerTest.WhatTheDeviceRefusesIsConverted)
set(ONDARIX_SERVER_SUITES_app XClipboard.* XEditing.* Mpris.* SleepInhibitor.*)
set(ONDARIX_SERVER_SUITES_cli CliPlayOnServers.*)
function(ondarix_tests folder)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/${folder}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(test_${folder} ${sources})
  target_link_libraries(test_${folder} PRIVATE ondarix_options ${ARGN} GTest::gtest GTest::gmock GTest::gtest_main)
  target_include_directories(test_${folder} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  set_target_properties(test_${folder} PROPERTIES UNITY_BUILD ${ONDARIX_UNITY} UNITY_BUILD_BATCH_SIZE 6)
  target_precompile_headers(test_${folder} PRIVATE <gtest/gtest.h> <QString> <QByteArray> <vector>)
  set(properties TIMEOUT 300 ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
  # Suites against real servers carry a label: on a machine that is too busy such a server may fail them, so that
  # scripts/run_tests.sh gives these, and no others, a second run.
  string(REPLACE ";" ":" servers "${ONDARIX_SERVER_SUITES_${folder}}")
  if(servers)
    gtest_discover_tests(test_${folder} TEST_FILTER "${servers}" DISCOVERY_TIMEOUT 60
      PROPERTIES ${properties} LABELS servers)
  endif()
  gtest_discover_tests(test_${folder} TEST_FILTER "*-${servers}" DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
endfunction()
