# Writes the header that says which interface a calculate library is built against: the version, and a hash of the
# headers that such libraries see, without comments and white space. A class that changes changes the hash.
#
#   cmake -DROOT=source -DOUT=folder -DVERSION=1.0.0 -P tools/interface_stamp.cmake
#
# makes folder/platform/ORVInterfaceStamp.h, or leaves it alone when it says that already.
file(GLOB headers RELATIVE ${ROOT} ${ROOT}/platform/*.h ${ROOT}/KSLCore/include/database/*.h
  ${ROOT}/KSLCore/include/rules/*.h)
list(SORT headers)
set(text "")
foreach(header IN LISTS headers)
  file(READ ${ROOT}/${header} content)
  string(REGEX REPLACE "//[^\n]*" "" content "${content}")
  string(REGEX REPLACE "[ \n\t]+" " " content "${content}")
  string(APPEND text "${header}${content}")
endforeach()
string(SHA256 hash "${text}")
string(SUBSTRING "${hash}" 0 12 hash)
set(stamp "// Made by tools/interface_stamp.cmake: what calculate libraries are built against.
#pragma once

#define ORV_INTERFACE_VERSION \"${VERSION}\"
#define ORV_INTERFACE_LAYOUT \"${hash}\"
")
set(file ${OUT}/platform/ORVInterfaceStamp.h)
if(EXISTS ${file})
  file(READ ${file} former)
endif()
if(NOT "${former}" STREQUAL "${stamp}")
  file(WRITE ${file} "${stamp}")
endif()
