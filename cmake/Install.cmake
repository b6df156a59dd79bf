# What is installed, in three components (runtime, development, documents), and the Debian packages
# that cpack makes of them.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

target_include_directories(kerf PUBLIC $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
install(TARGETS kerf EXPORT kerfTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(CODE "set(KERF_SOURCE_DIR [[${PROJECT_SOURCE_DIR}]])
              set(KERF_INCLUDE_DIR [[${CMAKE_INSTALL_INCLUDEDIR}]])" COMPONENT development)
install(SCRIPT cmake/InstallHeaders.cmake COMPONENT development)
install(FILES LICENSE README.md CHANGELOG.md docs/file-format.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documents)

# For find_package.
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kerf)
install(EXPORT kerfTargets NAMESPACE kerf:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/kerfConfig.cmake.in ${PROJECT_BINARY_DIR}/kerfConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kerfConfigVersion.cmake
    COMPATIBILITY ${compatible_versions})
install(FILES ${PROJECT_BINARY_DIR}/kerfConfig.cmake ${PROJECT_BINARY_DIR}/kerfConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT development)

# For pkg-config. A program gets the same flags as by find_package.
get_target_property(definitions kerf INTERFACE_COMPILE_DEFINITIONS)
get_target_property(options kerf INTERFACE_COMPILE_OPTIONS)
set(pc_cflags -std=c++20)
foreach(definition IN LISTS definitions)
    if(definition)
        string(APPEND pc_cflags " -D${definition}")
    endif()
endforeach()
foreach(option IN LISTS options)
    if(option)
        string(APPEND pc_cflags " ${option}")
    endif()
endforeach()
set(pc_libs "-lkerf")
if(NOT BUILD_SHARED_LIBS)
    string(APPEND pc_libs " ${CMAKE_THREAD_LIBS_INIT}")
endif()
# The prefix is found from the file's own place, so that the tree can be moved.
set(pc_dir ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pc_prefix ${pc_dir} ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH pc_includedir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
file(RELATIVE_PATH pc_libdir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
configure_file(cmake/kerf.pc.in ${PROJECT_BINARY_DIR}/kerf.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kerf.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(NOT PROJECT_IS_TOP_LEVEL)
    return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kerf)
set(CPACK_PACKAGE_VENDOR "the kerf authors")
set(CPACK_PACKAGE_CONTACT "the kerf authors <kerf@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development documents)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)  # of the same version exactly
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION}: the shared library")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkerf${interface_version})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "${PROJECT_DESCRIPTION}: headers")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkerf-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DOCUMENTS_DESCRIPTION "${PROJECT_DESCRIPTION}: documents")
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_NAME libkerf-doc)
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_ARCHITECTURE all)
if(BUILD_SHARED_LIBS)
    set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
else()
    set(CPACK_COMPONENTS_ALL development documents)  # the archive is all there is
endif()
include(CPack)
