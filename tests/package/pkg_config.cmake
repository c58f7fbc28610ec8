# Compiles and runs the consumer with nothing but what pkg-config says of PREFIX.
find_program(PKG_CONFIG NAMES pkg-config pkgconf REQUIRED)
set(ENV{PKG_CONFIG_PATH} ${PREFIX}/${LIBDIR}/pkgconfig)
execute_process(COMMAND ${PKG_CONFIG} --modversion tarnwell OUTPUT_VARIABLE version
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
if(NOT version STREQUAL VERSION)
  message(FATAL_ERROR "tarnwell.pc says version ${version} instead of ${VERSION}")
endif()
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs tarnwell OUTPUT_VARIABLE flags
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${CXX_FLAGS} ${flags}")

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
execute_process(COMMAND ${CXX} -std=c++20 ${CONSUMER}/main.cpp -o ${WORK}/consumer ${flags}
                COMMAND_ERROR_IS_FATAL ANY)
# Finds the shared library, where that is what was built.
set(ENV{LD_LIBRARY_PATH} ${PREFIX}/${LIBDIR})
execute_process(COMMAND ${WORK}/consumer ${VERSION} COMMAND_ERROR_IS_FATAL ANY)
