# SPDX-License-Identifier: Apache-2.0
# How this repository makes its targets.

# flashwatch_use_platform()
#   Makes ara::log, ara::exec, ara::per, ara::phm and ara::com of the chosen platform visible in the calling
#   directory and below it. This is the one seam between the service and a platform; docs/porting.md says what a
#   platform's package has to provide.
macro(flashwatch_use_platform)
  if(FLASHWATCH_PLATFORM STREQUAL linux)
    foreach(cluster log exec per phm com)
      add_library(ara::${cluster} INTERFACE IMPORTED)
      target_link_libraries(ara::${cluster} INTERFACE ara_${cluster})
    endforeach()
  else()
    find_package(${FLASHWATCH_PLATFORM} REQUIRED CONFIG)
  endif()
endmacro()

# flashwatch_add_room(NAME [SOURCES file...] [ROOMS room...] [LINKS target...])
#   One subsystem of the service, as the target <prefix>flashwatch_NAME. ROOMS names the other rooms it uses,
#   LINKS the platform clusters and libraries. FLASHWATCH_PREFIX keeps a second copy of the rooms apart that stands
#   on another platform (the tests make one); it is empty otherwise.
function(flashwatch_add_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;ROOMS;LINKS" ${ARGN})
  set(target ${FLASHWATCH_PREFIX}flashwatch_${name})
  list(TRANSFORM ROOM_ROOMS PREPEND ${FLASHWATCH_PREFIX}flashwatch::)
  if(ROOM_SOURCES)
    add_library(${target} STATIC ${ROOM_SOURCES})
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${target} PUBLIC ${ROOM_ROOMS} ${ROOM_LINKS} PRIVATE flashwatch_warnings)
  else()
    add_library(${target} INTERFACE)
    target_include_directories(${target} INTERFACE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${target} INTERFACE ${ROOM_ROOMS} ${ROOM_LINKS})
  endif()
  add_library(${FLASHWATCH_PREFIX}flashwatch::${name} ALIAS ${target})
endfunction()

function(flashwatch_install_platform_library name)
  set_target_properties(ara_${name} PROPERTIES EXPORT_NAME ${name})
  install(TARGETS ara_${name} EXPORT flashwatch_platform
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}/flashwatch_platform COMPONENT dev)
endfunction()

# flashwatch_add_platform_library(NAME SOURCES file... [PUBLIC target...] [PRIVATE target...])
#   One functional cluster (or a layer inside one) of the Linux platform, as the target ara_NAME; installed it is
#   ara::NAME of the package flashwatch_platform. Headers that only the platform's own sources include are a
#   $<BUILD_INTERFACE:...>, so that the package does not ask for them.
function(flashwatch_add_platform_library name)
  cmake_parse_arguments(LIB "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(ara_${name} STATIC ${LIB_SOURCES})
  target_include_directories(ara_${name}
    PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/platform/include> $<INSTALL_INTERFACE:include/flashwatch_platform>
    PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(ara_${name} PUBLIC ${LIB_PUBLIC} PRIVATE ${LIB_PRIVATE} $<BUILD_INTERFACE:flashwatch_warnings>)
  flashwatch_install_platform_library(${name})
endfunction()

# Everything that runs on a machine, and no tests.
add_custom_target(programs)

# flashwatch_add_program(NAME SOURCES file... [LINKS target...] [COMPONENT name])
#   COMPONENT says with which part of the machine it is installed; without it, it is not.
function(flashwatch_add_program name)
  cmake_parse_arguments(PROGRAM "" "COMPONENT" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${PROGRAM_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE ${PROGRAM_LINKS} flashwatch_warnings)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
  add_dependencies(programs ${name})
  if(PROGRAM_COMPONENT)
    install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${PROGRAM_COMPONENT})
  endif()
endfunction()
