# SPDX-License-Identifier: MIT
# What `cmake --install` lays down: the library, its headers, find_package and pkg-config files.
include(CMakePackageConfigHelpers)

install(TARGETS tavrin EXPORT TavrinTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT TavrinTargets NAMESPACE Tavrin::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tavrin)

configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/TavrinConfig.cmake.in ${PROJECT_BINARY_DIR}/TavrinConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tavrin)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TavrinConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TavrinConfig.cmake
              ${PROJECT_BINARY_DIR}/TavrinConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tavrin)

# Relative to itself, so that an installed tree can be moved.
file(RELATIVE_PATH TAVRIN_PC_TO_PREFIX
     ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH TAVRIN_PC_LIBDIR ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH TAVRIN_PC_INCLUDEDIR ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
set(packages tavrin)
if(TAVRIN_ENGINE)
  list(APPEND packages tavrin-engine)
endif()
foreach(package IN LISTS packages)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc
                 @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
