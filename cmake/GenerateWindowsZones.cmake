# Turns the zone data into C++ initialisers:
#   cmake -DINPUT=<windows_zones.tsv> -DOUTPUT=<WindowsZones.inc> -P GenerateWindowsZones.cmake
#
# A row of the data is "IANA name<TAB>Windows name<TAB>mark", the mark being "*" on the one row of
# each Windows name that speaks for it, else nothing. A row of any other form stops the build, and
# so does a Windows name that has not exactly one such row.
cmake_minimum_required(VERSION 3.25)

file(STRINGS "${INPUT}" rows ENCODING UTF-8)
set(names "")
set(principals "")
set(text "// Generated from windows_zones.tsv; do not edit.\n")
foreach(row IN LISTS rows)
  if(NOT row MATCHES "^([A-Za-z0-9_/+-]+)\t([A-Za-z0-9 .()+-]+)\t(\\*?)$")
    message(FATAL_ERROR "${INPUT}: cannot read the row \"${row}\"")
  endif()
  if(CMAKE_MATCH_3 STREQUAL "*")
    set(principal true)
    if(CMAKE_MATCH_2 IN_LIST principals)
      message(FATAL_ERROR "${INPUT}: two rows speak for \"${CMAKE_MATCH_2}\"")
    endif()
    list(APPEND principals "${CMAKE_MATCH_2}")
  else()
    set(principal false)
  endif()
  list(APPEND names "${CMAKE_MATCH_2}")
  string(APPEND text "{\"${CMAKE_MATCH_1}\", \"${CMAKE_MATCH_2}\", ${principal}},\n")
endforeach()

list(REMOVE_DUPLICATES names)
list(REMOVE_ITEM names ${principals})
if(names)
  message(FATAL_ERROR "${INPUT}: no row speaks for \"${names}\"")
endif()
file(WRITE "${OUTPUT}" "${text}")
