# What `cmake --install` puts under the prefix: the executables, the libraries, their headers
# under include/teska, the CMake package teska (targets teska::fileio, teska::database and
# teska::crystal) and the pkg-config file teska.pc.
include(CMakePackageConfigHelpers)

set(TESKA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/teska)

install(TARGETS cif2pdb teska RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS teska_fileio teska_database teska_crystal EXPORT teskaTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/teska/fileio.h include/teska/mmutil.h include/teska/database.h
              include/teska/error.h include/teska/printed_reports.h include/teska/crystal.h
              include/teska/outputs.h include/teska/paths.h include/teska/dimers.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/teska)

install(EXPORT teskaTargets NAMESPACE teska:: FILE teskaTargets.cmake
        DESTINATION ${TESKA_CMAKE_DIR})
configure_package_config_file(cmake/teskaConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/teskaConfig.cmake
                              INSTALL_DESTINATION ${TESKA_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/teskaConfigVersion.cmake
                                 VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/teskaConfig.cmake ${PROJECT_BINARY_DIR}/teskaConfigVersion.cmake
        DESTINATION ${TESKA_CMAKE_DIR})

# pkg-config: the model before the database reader, and that before the store it fills, as static linking needs.
# The prefix is found from the file's own folder, so that the installed tree can be moved.
file(RELATIVE_PATH TESKA_PC_PREFIX "/p/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/p")
string(REGEX REPLACE "/$" "" TESKA_PC_PREFIX "${TESKA_PC_PREFIX}")
configure_file(cmake/teska.pc.in ${PROJECT_BINARY_DIR}/teska.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/teska.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
