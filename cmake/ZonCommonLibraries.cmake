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
  # Only the public API is exported (zon-common.map), and the library's calls to its own exported
  # functions are bound when it is linked: a program's start resolves far fewer symbols.
  set(map ${PROJECT_SOURCE_DIR}/cmake/zon-common.map)
  target_link_options(zon-common PRIVATE "LINKER:--version-script=${map}" "LINKER:-O1"
    "LINKER:-Bsymbolic-functions")
  set_property(TARGET zon-common APPEND PROPERTY LINK_DEPENDS ${map})
  # A public class missing from the map would link in the library's own tests and fail only in a
  # user's program: refuse to configure instead.
  file(READ ${map} exported)
  foreach(source ${sources})
    get_filename_component(class ${source} NAME_WE)
    if(EXISTS ${PROJECT_SOURCE_DIR}/inc/${class}.h AND NOT exported MATCHES "[ \t\n]${class}::\\*;")
      file(STRINGS ${PROJECT_SOURCE_DIR}/inc/${class}.h declares REGEX "^class ${class}( |$|:)")
      if(declares)
        message(FATAL_ERROR "inc/${class}.h declares a public class that cmake/zon-common.map does not export")
      endif()
    endif()
  endforeach()
  foreach(lib zon-common zon-common-ui)
    target_include_directories(${lib}
      PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/inc>
             $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/zon-common>
      PRIVATE ${PROJECT_SOURCE_DIR}/src)
  endforeach()
endfunction()

# The same objects as a static library, with every symbol of src/ reachable, for the tests and
# benchmarks that look into the library's internals (its ICU cache). Called once zon-common's own
# dependencies are set.
function(zon_common_internal)
  add_library(zon-common-internal STATIC $<TARGET_OBJECTS:zon-common>)
  get_target_property(deps zon-common LINK_LIBRARIES)
  target_link_libraries(zon-common-internal PUBLIC ${deps})
  target_include_directories(zon-common-internal PUBLIC ${PROJECT_SOURCE_DIR}/inc ${PROJECT_SOURCE_DIR}/src)
endfunction()

# The best patterns of the time texts, asked of the ICU the library is built against
# (tools/bestpatterns): sets <out_var> to the generated source, a source of zon-common.
#   zon_best_pattern_table(<ICU target> <out_var>)
function(zon_best_pattern_table icu out_var)
  set(dir ${PROJECT_SOURCE_DIR}/tools/bestpatterns)
  set(out ${PROJECT_BINARY_DIR}/generated/ZonBestPatternTable.generated.cpp)
  if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
    # No ICU of the target to ask: an empty table, which the library never consults.
    file(WRITE ${out} "#include \"ZonBestPatternTable.h\"\nnamespace zon_best_patterns {\n"
      "const char kIcuVersion[] = \"\";\nconst char kDataVersion[] = \"\";\nconst char kCldrVersion[] = \"\";\n"
      "const size_t kSkeletonCount = 0;\nconst char kSkeletons[] = {0};\nconst size_t kLocaleCount = 0;\n"
      "const char kLocales[] = {0};\nconst uint32_t kLocaleOffsets[] = {0};\nconst char16_t kPatterns[] = {0};\n"
      "const uint16_t kPatternOffsets[] = {0};\n}\n")
  else()
    add_executable(gen_best_patterns ${dir}/gen_best_patterns.cpp)
    target_link_libraries(gen_best_patterns PRIVATE ${icu})
    add_custom_command(OUTPUT ${out}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/generated
      COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:gen_best_patterns> ${dir}/skeletons.txt ${out}
      DEPENDS gen_best_patterns ${dir}/skeletons.txt
      COMMENT "Asking ICU for the best patterns of tools/bestpatterns/skeletons.txt"
      VERBATIM)
  endif()
  set(${out_var} ${out} PARENT_SCOPE)
endfunction()
