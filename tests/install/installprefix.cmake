# cmake -DBUILD_DIR=<build> -DPREFIX=<folder> -P installprefix.cmake
# A fresh `cmake --install` of the build into PREFIX, for the tests that use
# an installed Skeda.
file(REMOVE_RECURSE "${PREFIX}")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${PREFIX}"
  RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "cmake --install ${BUILD_DIR} --prefix ${PREFIX} failed: ${result}")
endif()
