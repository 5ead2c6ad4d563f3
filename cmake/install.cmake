# Installation: liblatopt.a into lib/, the headers of src/lib into include/latopt/ in their folders,
# the programs into bin/, the CMake package into lib/cmake/latopt/ and lib/pkgconfig/latopt.pc.
#
# The headers include one another by their path below src/lib ("lattice/lattice.h"), so a consumer
# has both include/ (for <latopt/lattice/lattice.h>) and include/latopt/ (for the headers' own
# includes) on its include path; the package and the .pc file give both.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(LATOPT_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/latopt)

install(TARGETS latopt EXPORT latoptTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} ${CMAKE_INSTALL_INCLUDEDIR}/latopt)
install(TARGETS latopt_tool latopt_reduce latopt_search_tool latopt_lab
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/lib/
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/latopt
        FILES_MATCHING PATTERN "*.h")

install(EXPORT latoptTargets NAMESPACE latopt:: DESTINATION ${LATOPT_CMAKE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/latoptConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/latoptConfig.cmake
                              INSTALL_DESTINATION ${LATOPT_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/latoptConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/latoptConfig.cmake ${PROJECT_BINARY_DIR}/latoptConfigVersion.cmake
        DESTINATION ${LATOPT_CMAKE_DIR})

file(RELATIVE_PATH LATOPT_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" LATOPT_PC_TO_PREFIX "${LATOPT_PC_TO_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/latopt.pc.in ${PROJECT_BINARY_DIR}/latopt.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/latopt.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
