# Installs BUILD_DIR into an empty PREFIX and looks at what came out. The file HEADERS lists the
# public headers.
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX}
                COMMAND_ERROR_IS_FATAL ANY)

# Exactly the public headers, each under the path that it is included by.
file(GLOB_RECURSE installed RELATIVE ${PREFIX}/include ${PREFIX}/include/*)
file(STRINGS ${HEADERS} public)
list(SORT installed)
list(SORT public)
if(NOT installed STREQUAL public)
  message(FATAL_ERROR "installed headers:\n${installed}\nbut the public ones are:\n${public}")
endif()

# A file that names the machine it was built on works nowhere else.
file(GLOB_RECURSE texts ${PREFIX}/*.cmake ${PREFIX}/*.pc ${PREFIX}/*.h)
if(NOT texts)
  message(FATAL_ERROR "no package files were installed")
endif()
foreach(text IN LISTS texts)
  file(READ ${text} content)
  foreach(path IN ITEMS ${SOURCE_DIR} ${BUILD_DIR} ${PREFIX})
    string(FIND "${content}" "${path}" at)
    if(NOT at EQUAL -1)
      message(FATAL_ERROR "${text} names ${path}")
    endif()
  endforeach()
endforeach()
