# ZON_PLATFORM=device: zon-common and zon-common-ui alone, built against the watch platform's
# own pkg-config modules instead of zon-host, as the platform's RPM package build (packaging/)
# runs it. Included from the top-level CMakeLists.txt, which returns right after: the host port,
# its tools, tests and benchmarks have no place on the device.
#
# The two module lists together are the RPM recipe's BuildRequires; the test
# packaging.device_configure configures this file against stand-ins of those modules
# (device-pc/) and checks that the lists agree.
# zon-common stays off the toolkit as on the host: its modules leave out the toolkit's own, which
# only zon-common-ui (the popups, screen reader, rotary input and naviframe helpers) requires.
# The framework's one device module carries the signals zon-common's events use.
set(ZON_DEVICE_MODULES
  dlog capi-base-common bundle vconf vconf-internal-keys
  capi-appfw-app-common capi-appfw-app-control capi-appfw-preference capi-appfw-alarm
  capi-appfw-package-manager capi-message-port capi-system-system-info capi-system-system-settings
  app-trellis-efl korvath-cloud korvath-log-manager uxt-theme
  glib-2.0 json-glib-1.0 sqlite3 icu-uc icu-i18n)
set(ZON_DEVICE_UI_MODULES elementary ecore-file efl-extension)
find_package(PkgConfig REQUIRED)
pkg_check_modules(ZON_DEVICE REQUIRED IMPORTED_TARGET ${ZON_DEVICE_MODULES})
pkg_check_modules(ZON_DEVICE_UI REQUIRED IMPORTED_TARGET ${ZON_DEVICE_UI_MODULES})

add_compile_options(-Wall -Wextra)

include(${PROJECT_SOURCE_DIR}/cmake/ZonCommonLibraries.cmake)
zon_best_pattern_table(PkgConfig::ZON_DEVICE ZON_BEST_PATTERN_TABLE)
zon_common_libraries(${CMAKE_CURRENT_LIST_DIR}/device/zon_platform.c ${ZON_BEST_PATTERN_TABLE})
target_link_libraries(zon-common PUBLIC PkgConfig::ZON_DEVICE PRIVATE ${CMAKE_DL_LIBS})
# zon-common defines the JSON-GLib functions it calls and opens the library on first use
# (src/ZonJsonGlib.h): the module list still brings -ljson-glib-1.0, which must not become a
# dependency loaded at every start.
target_link_options(zon-common PRIVATE "LINKER:--as-needed")
target_link_libraries(zon-common-ui PUBLIC zon-common PkgConfig::ZON_DEVICE_UI)

# The "zonvista" catalogues.
add_subdirectory(${PROJECT_SOURCE_DIR}/po ${PROJECT_BINARY_DIR}/po)

file(GLOB ZON_PUBLIC_HEADERS ${PROJECT_SOURCE_DIR}/inc/*.h)
install(FILES ${ZON_PUBLIC_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zon-common)
install(TARGETS zon-common zon-common-ui LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
list(JOIN ZON_DEVICE_MODULES " " ZON_DEVICE_REQUIRES)
configure_file(${CMAKE_CURRENT_LIST_DIR}/zon-common-device.pc.in ${PROJECT_BINARY_DIR}/zon-common.pc @ONLY)
list(JOIN ZON_DEVICE_UI_MODULES " " ZON_DEVICE_UI_REQUIRES)
configure_file(${CMAKE_CURRENT_LIST_DIR}/zon-common-ui-device.pc.in ${PROJECT_BINARY_DIR}/zon-common-ui.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zon-common.pc ${PROJECT_BINARY_DIR}/zon-common-ui.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
