# cmake -DPREFIX=<installed Skeda> -DWORK=<folder> -DGENERATOR=<generator>
#       -DPLUGIN_DIR=<Qt plugin folder under PREFIX> [-DSANITIZE=ON]
#       -DSOURCE=<hostproject> -P hostproject.cmake
# Configures and builds the host project against the installed package with
# find_package(Skeda), then runs it on the offscreen platform.
file(REMOVE_RECURSE "${WORK}")
set(flags)
if(SANITIZE)
  # The plugin is instrumented; so must the program that loads it be.
  set(san "-fsanitize=address,undefined -fno-omit-frame-pointer")
  list(APPEND flags "-DCMAKE_CXX_FLAGS=${san}" "-DCMAKE_EXE_LINKER_FLAGS=${san}")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" -S "${SOURCE}" -B "${WORK}" -G "${GENERATOR}"
    -DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_PREFIX_PATH=${PREFIX}" ${flags}
  RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "configuring the host project against ${PREFIX} failed")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${WORK}" RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "building the host project failed")
endif()
execute_process(
  COMMAND "${CMAKE_COMMAND}" -E env QT_QPA_PLATFORM=offscreen "QT_PLUGIN_PATH=${PLUGIN_DIR}"
          "${WORK}/hostproject"
  RESULT_VARIABLE result OUTPUT_VARIABLE output)
message("${output}")
if(NOT result EQUAL 0 OR NOT output MATCHES "\nok\n$")
  message(FATAL_ERROR "the host project failed: ${result}")
endif()
