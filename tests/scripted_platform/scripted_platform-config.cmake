# SPDX-License-Identifier: Apache-2.0
# The scripted platform as a package, found the way a vehicle's own platform is.
foreach(cluster log exec per phm com)
  add_library(ara::${cluster} INTERFACE IMPORTED)
  target_link_libraries(ara::${cluster} INTERFACE scripted_platform)
endforeach()
