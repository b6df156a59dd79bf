# A step of the installation: copies the headers that programs include, and of those in internal/
# folders the ones that these need. Done here and not when the build is configured, so that the
# includes are those of the headers installed.
#
# Given: KERF_SOURCE_DIR, and KERF_INCLUDE_DIR, absolute or below the prefix.

cmake_minimum_required(VERSION 3.22)
file(GLOB_RECURSE headers RELATIVE ${KERF_SOURCE_DIR} ${KERF_SOURCE_DIR}/kerf/*.h)
list(FILTER headers EXCLUDE REGEX "/internal/")
set(unread ${headers})
while(unread)
    list(POP_FRONT unread header)
    file(STRINGS ${KERF_SOURCE_DIR}/${header} includes REGEX "^ *# *include +\"kerf/.*/internal/")
    list(TRANSFORM includes REPLACE "^[^\"]*\"([^\"]*)\".*" "\\1")
    foreach(included IN LISTS includes)
        if(NOT included IN_LIST headers)
            list(APPEND headers ${included})
            list(APPEND unread ${included})
        endif()
    endforeach()
endwhile()

cmake_path(ABSOLUTE_PATH KERF_INCLUDE_DIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX})
foreach(header IN LISTS headers)
    cmake_path(GET header PARENT_PATH folder)
    file(INSTALL ${KERF_SOURCE_DIR}/${header} DESTINATION ${KERF_INCLUDE_DIR}/${folder})
endforeach()
