# SPDX-License-Identifier: Apache-2.0
# A platform's package as a vendor writes it: the five clusters, and bindings of its own.
find_package(Threads REQUIRED)
get_filename_component(prefix ${CMAKE_CURRENT_LIST_DIR}/../../.. ABSOLUTE)

function(add_installed_library target file)
  add_library(${target} STATIC IMPORTED)
  set_target_properties(${target} PROPERTIES
    IMPORTED_LOCATION ${prefix}/lib/${file}
    INTERFACE_INCLUDE_DIRECTORIES ${prefix}/include
    INTERFACE_LINK_LIBRARIES "${ARGN}")
endfunction()

add_installed_library(scripted::serializer libara_com_serializer.a)
add_installed_library(scripted::platform libscripted_platform.a scripted::serializer Threads::Threads)
foreach(cluster log exec per phm com)
  add_library(ara::${cluster} INTERFACE IMPORTED)
  target_link_libraries(ara::${cluster} INTERFACE scripted::platform)
endforeach()
foreach(room stats diag)
  add_installed_library(flashwatch::${room}_bindings libscripted_flashwatch_${room}_bindings.a ara::com)
endforeach()
