# cmake -DZONCLOCK=path -DOUTPUT=zonclock.1 -P WriteManPage.cmake: zonclock's help as a man page,
# in English whatever the builder's language, without a device (the help opens none).
set(ENV{LANGUAGE} C)
set(ENV{ASAN_OPTIONS} detect_leaks=0)
execute_process(COMMAND ${ZONCLOCK} __man OUTPUT_FILE ${OUTPUT} RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  file(REMOVE ${OUTPUT})
  message(FATAL_ERROR "zonclock __man failed: ${result}")
endif()
