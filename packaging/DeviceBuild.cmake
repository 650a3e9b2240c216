# ZON_PLATFORM=device: zon-common alone, built against the watch platform's own pkg-config
# modules instead of zon-host, as the platform's package build (zon-common.spec) runs it.
# Included from the top-level CMakeLists.txt, which returns right after: the host port, its
# tools, tests and benchmarks have no place on the device.
#
# The module list is the spec file's BuildRequires; the test packaging.device_configure
# configures this file against stand-ins of those modules (device-pc/) and checks that the two
# lists agree.
set(ZON_DEVICE_MODULES
  dlog capi-base-common bundle vconf vconf-internal-keys
  capi-appfw-app-common capi-appfw-app-control capi-appfw-preference capi-appfw-alarm
  capi-appfw-package-manager capi-message-port capi-system-system-info capi-system-system-settings
  elementary ecore-file efl-extension app-trellis-efl
  korvath-cloud korvath-log-manager uxt-theme
  glib-2.0 json-glib-1.0 sqlite3 icu-uc icu-i18n)
find_package(PkgConfig REQUIRED)
pkg_check_modules(ZON_DEVICE REQUIRED IMPORTED_TARGET ${ZON_DEVICE_MODULES})

add_compile_options(-Wall -Wextra)

# The library's one platform seam, wherever the tree keeps its header.
find_path(ZON_PLATFORM_HEADER_DIR zon_platform.h
  PATHS ${PROJECT_SOURCE_DIR}/inc ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/platform/include
        ${PROJECT_SOURCE_DIR}/platform/host/include
  NO_DEFAULT_PATH REQUIRED)

file(GLOB ZON_COMMON_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*.cpp)
add_library(zon-common SHARED ${ZON_COMMON_SOURCES} ${CMAKE_CURRENT_LIST_DIR}/device/zon_platform.c)
set_target_properties(zon-common PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 0)
target_include_directories(zon-common
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/inc>
         $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/zon-common>
  PRIVATE ${PROJECT_SOURCE_DIR}/src ${ZON_PLATFORM_HEADER_DIR})
target_link_libraries(zon-common PUBLIC PkgConfig::ZON_DEVICE)

# The "zonvista" catalogues.
add_subdirectory(${PROJECT_SOURCE_DIR}/po ${PROJECT_BINARY_DIR}/po)

file(GLOB ZON_PUBLIC_HEADERS ${PROJECT_SOURCE_DIR}/inc/*.h)
install(FILES ${ZON_PUBLIC_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zon-common)
install(TARGETS zon-common LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
list(JOIN ZON_DEVICE_MODULES " " ZON_DEVICE_REQUIRES)
configure_file(${CMAKE_CURRENT_LIST_DIR}/zon-common-device.pc.in ${PROJECT_BINARY_DIR}/zon-common.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zon-common.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
