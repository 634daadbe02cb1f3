# Run at install time: installs tessivar/tessivar.h and every header of ours that it reaches, and nothing private.
#
# Needs SOURCE_DIR and INCLUDE_DIR (relative to CMAKE_INSTALL_PREFIX).

cmake_policy(VERSION 3.22)
set(pending tessivar/tessivar.h)
set(reached "")
while(pending)
  list(POP_FRONT pending header)
  list(APPEND reached ${header})
  file(STRINGS ${SOURCE_DIR}/${header} lines REGEX "^ *# *include *\"tessivar/")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "[^\"]*\"([^\"]*)\".*" "\\1" next "${line}")
    if(NOT next IN_LIST reached AND NOT next IN_LIST pending)
      list(APPEND pending ${next})
    endif()
  endforeach()
endwhile()

foreach(header IN LISTS reached)
  get_filename_component(folder ${header} DIRECTORY)
  file(INSTALL ${SOURCE_DIR}/${header} DESTINATION ${CMAKE_INSTALL_PREFIX}/${INCLUDE_DIR}/${folder})
endforeach()
