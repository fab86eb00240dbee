# SPDX-License-Identifier: Apache-2.0
# The language level for everything, the warnings for our own targets, the sanitizers for all.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)

add_library(flashwatch_warnings INTERFACE)
target_compile_options(flashwatch_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  $<$<BOOL:${FLASHWATCH_DEVELOPER}>:-Werror>)

if(FLASHWATCH_SANITIZE)
  add_compile_options(-fsanitize=${FLASHWATCH_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${FLASHWATCH_SANITIZE})
endif()

if(FLASHWATCH_FUZZ)
  # The fuzz targets link the engine itself (tests/fuzz); everything they call is instrumented for it.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(FLASHWATCH_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()
