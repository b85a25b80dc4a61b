# What `cmake --install` puts down: the library, its headers, the CMake package, the pkg-config file
# and the documents. The installed tree may be moved: nothing in it holds the path it was installed
# to. The programs are installed by tools/.
include(CMakePackageConfigHelpers)

option(TMXACTIONS_INSTALL "Install the library" ${PROJECT_IS_TOP_LEVEL})
if(NOT TMXACTIONS_INSTALL)
    return()
endif()

set(tmxactions_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/TmxActions)
set(tmxactions_pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The shared object and its SONAME link belong to the run time, the bare link to development.
install(TARGETS tmxactions EXPORT TmxActionsTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)

if(WIN32)
    # Other linkers make their import libraries from it.
    install(FILES ${PROJECT_BINARY_DIR}/generated/exports.def
        DESTINATION ${CMAKE_INSTALL_LIBDIR} RENAME tmxactions.def COMPONENT development)
endif()

# Headers as they stand in the tree, and those that the build makes from the catalogue.
foreach(directory ${PROJECT_SOURCE_DIR}/include ${PROJECT_BINARY_DIR}/generated/include)
    install(DIRECTORY ${directory}/tmxactions DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        COMPONENT development FILES_MATCHING PATTERN "*.h" PATTERN "*.def")
endforeach()

install(EXPORT TmxActionsTargets NAMESPACE TmxActions:: DESTINATION ${tmxactions_package_dir}
    COMPONENT development)
configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/TmxActionsConfig.cmake.in
    ${PROJECT_BINARY_DIR}/package/TmxActionsConfig.cmake
    INSTALL_DESTINATION ${tmxactions_package_dir}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/package/TmxActionsConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/package/TmxActionsConfig.cmake
    ${PROJECT_BINARY_DIR}/package/TmxActionsConfigVersion.cmake
    DESTINATION ${tmxactions_package_dir} COMPONENT development)

# The prefix in the pkg-config file is told from the place of the file itself, unless a directory
# was given as an absolute path.
file(RELATIVE_PATH tmxactions_prefix_from_pc
    /prefix/${tmxactions_pkgconfig_dir} /prefix)
string(REGEX REPLACE "/$" "" tmxactions_prefix_from_pc "${tmxactions_prefix_from_pc}")
foreach(kind LIBDIR INCLUDEDIR)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}}")
        set(tmxactions_pc_${kind} "${CMAKE_INSTALL_${kind}}")
    else()
        set(tmxactions_pc_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
    endif()
endforeach()
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(tmxactions_pc_prefix "${CMAKE_INSTALL_PREFIX}")
else()
    set(tmxactions_pc_prefix "\${pcfiledir}/${tmxactions_prefix_from_pc}")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/tmxactions.pc.in
    ${PROJECT_BINARY_DIR}/package/tmxactions.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/tmxactions.pc
    DESTINATION ${tmxactions_pkgconfig_dir} COMPONENT development)

set(tmxactions_doc_dir ${CMAKE_INSTALL_DATAROOTDIR}/doc/tmxactions)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/LICENSE
    DESTINATION ${tmxactions_doc_dir} COMPONENT documentation)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${tmxactions_doc_dir}
    COMPONENT documentation FILES_MATCHING PATTERN "*.md")
install(FILES ${PROJECT_SOURCE_DIR}/examples/site.actions
    DESTINATION ${tmxactions_doc_dir}/examples COMPONENT documentation)
install(FILES ${PROJECT_SOURCE_DIR}/examples/README.md
    DESTINATION ${tmxactions_doc_dir}/examples COMPONENT documentation)

# The installed program finds the library of its own tree.
if(TARGET tmxact AND NOT WIN32 AND NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    file(RELATIVE_PATH tmxactions_lib_from_bin
        /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
    set_target_properties(tmxact PROPERTIES INSTALL_RPATH "$ORIGIN/${tmxactions_lib_from_bin}")
endif()
