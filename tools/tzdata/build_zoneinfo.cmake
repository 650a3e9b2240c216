# Builds ICU's zone rule resources into OUT_DIR:
#   zoneinfo64.res from the tz source SOURCE (zic, then gen_zoneinfo64), or from FALLBACK (the
#   newest published rules) when the source cannot be converted;
#   metaZones, timezoneTypes, windowsZones from EXTRAS (published text files).
# Run as: cmake -DZIC= -DGEN= -DGENRB= -DSOURCE= -DREFERENCE= -DFALLBACK= -DWORK= -DOUT_DIR=
#         [-DEXTRAS=a.txt;b.txt] -P build_zoneinfo.cmake
file(REMOVE_RECURSE "${WORK}/zic")
file(MAKE_DIRECTORY "${WORK}" "${OUT_DIR}")
set(text "${WORK}/zoneinfo64.txt")
file(REMOVE "${text}")
execute_process(COMMAND "${ZIC}" -b fat -d "${WORK}/zic" "${SOURCE}" RESULT_VARIABLE rc)
if(rc EQUAL 0)
  execute_process(COMMAND "${GEN}" "${SOURCE}" "${WORK}/zic" "${REFERENCE}" "${text}" RESULT_VARIABLE rc)
endif()
if(rc EQUAL 0)
  execute_process(COMMAND "${GENRB}" -q -d "${OUT_DIR}" "${text}" RESULT_VARIABLE rc)
endif()
if(NOT rc EQUAL 0)
  message(WARNING "${SOURCE} could not be converted to ICU's zone rules; using ${FALLBACK}")
  execute_process(COMMAND "${GENRB}" -q -d "${OUT_DIR}" "${FALLBACK}" RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "genrb failed on ${FALLBACK}")
  endif()
endif()
foreach(extra ${EXTRAS})
  execute_process(COMMAND "${GENRB}" -q -d "${OUT_DIR}" "${extra}" RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "genrb failed on ${extra}")
  endif()
endforeach()
file(REMOVE_RECURSE "${WORK}/zic")
