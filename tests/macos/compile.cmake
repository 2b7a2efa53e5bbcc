# Compiles this project for the Mac: cmake -D… -P compile.cmake
#   TARGETS         names with blanks between them
#   SOURCE, BUILD   this project, and the folder to build in
#   ARCHITECTURE    x86_64 or arm64
#   TOGETHER        whether the program's files are compiled together
#   GENERATOR, LAUNCHER  how the build around this one was set up
execute_process(
  COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${BUILD} -G ${GENERATOR}
    -DCMAKE_TOOLCHAIN_FILE=${SOURCE}/tests/macos/toolchain.cmake
    -DMAC_ARCHITECTURE=${ARCHITECTURE}
    -DCMAKE_PROJECT_INCLUDE=${SOURCE}/tests/macos/libraries.cmake
    -DVESK_PRECOMPILE=ON
    -DVESK_TESTS_TOGETHER=ON
    -DCMAKE_UNITY_BUILD=${TOGETHER}
    -DCMAKE_UNITY_BUILD_BATCH_SIZE=40
    -DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}
    -DCMAKE_OBJCXX_COMPILER_LAUNCHER=${LAUNCHER}
  COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(TARGETS)
# It would take every processor from tests that wait for events beside it.
execute_process(
  COMMAND nice -n 19 ${CMAKE_COMMAND} --build ${BUILD} --target ${TARGETS}
  COMMAND_ERROR_IS_FATAL ANY)
