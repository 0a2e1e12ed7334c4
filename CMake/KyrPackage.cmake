# Installs the package "Kyr": find_package(Kyr [COMPONENTS HostGStreamer HostMpv Overlay]) gives the targets Kyr::<Layer>.
include(CMakePackageConfigHelpers)
set(KYR_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Kyr)

install(EXPORT KyrTargets NAMESPACE Kyr:: DESTINATION ${KYR_PACKAGE_DIR})
if(KYR_GSTREAMER)
  install(EXPORT KyrGStreamerTargets NAMESPACE Kyr:: DESTINATION ${KYR_PACKAGE_DIR})
endif()
if(KYR_MPV)
  install(EXPORT KyrMpvTargets NAMESPACE Kyr:: DESTINATION ${KYR_PACKAGE_DIR})
endif()
if(KYR_OVERLAY)
  install(EXPORT KyrOverlayTargets NAMESPACE Kyr:: DESTINATION ${KYR_PACKAGE_DIR})
endif()
configure_package_config_file(CMake/KyrConfig.cmake.in ${PROJECT_BINARY_DIR}/KyrConfig.cmake
                              INSTALL_DESTINATION ${KYR_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KyrConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KyrConfig.cmake ${PROJECT_BINARY_DIR}/KyrConfigVersion.cmake
        DESTINATION ${KYR_PACKAGE_DIR})
