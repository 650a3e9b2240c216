# The two libraries' targets, the same on the host and on the device (packaging/DeviceBuild.cmake):
# zon-common, and zon-common-ui with the classes below, the toolkit helpers.
#   zon_common_libraries([extra sources of zon-common...])
set(ZON_COMMON_UI_CLASSES ToastPopup ZonPopup ZonWeatherInstallationPopup ScreenReaderHelper
  ZonRotaryManager WNaviframeControllerEx)

function(zon_common_libraries)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*.cpp)
  set(ui_sources)
  foreach(class ${ZON_COMMON_UI_CLASSES})
    list(APPEND ui_sources ${PROJECT_SOURCE_DIR}/src/${class}.cpp)
  endforeach()
  list(REMOVE_ITEM sources ${ui_sources})

  add_library(zon-common SHARED ${sources} ${ARGN})
  add_library(zon-common-ui SHARED ${ui_sources})
  set_target_properties(zon-common zon-common-ui PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 0)
  foreach(lib zon-common zon-common-ui)
    target_include_directories(${lib}
      PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/inc>
             $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/zon-common>
      PRIVATE ${PROJECT_SOURCE_DIR}/src)
  endforeach()
endfunction()
