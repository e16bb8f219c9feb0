# Installs the built library into an empty folder, builds the outside project against it, and runs it.
#   cmake -DHOW=cmake|pkgconfig|static -DBUILD=... -DSOURCE=... -DWORK=... [-DTOOLCHAIN=...] [-DEMULATOR=...] ...
# `static` builds a static library of its own first and then goes the way of `cmake` and of `pkgconfig`.
cmake_minimum_required(VERSION 3.25)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}")
  endif()
endfunction()

set(compiler -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_BUILD_TYPE=${BUILD_TYPE} -DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}
             -G Ninja)
if(TOOLCHAIN)
  set(compiler -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DCMAKE_BUILD_TYPE=${BUILD_TYPE}
               -DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER} -G Ninja)
endif()
set(flags "")
if(SANITIZE)
  set(flags "-fsanitize=${SANITIZE}")
endif()

file(REMOVE_RECURSE ${WORK})
set(prefix ${WORK}/prefix)
if(HOW STREQUAL "static")
  run(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/library ${compiler} -DOSUPT_SHARED=OFF -DCMAKE_CXX_FLAGS=${flags})
  run(${CMAKE_COMMAND} --build ${WORK}/library)
  set(BUILD ${WORK}/library)
endif()
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})

file(GLOB_RECURSE modules ${prefix}/*/osupt.pc)
get_filename_component(module_dir ${modules} DIRECTORY)
get_filename_component(library_dir ${module_dir} DIRECTORY)
set(ENV{LD_LIBRARY_PATH} ${library_dir})
# Windows finds DLLs beside the program, so that is where it is built.
set(program ${prefix}/bin/consumer${SUFFIX})

if(NOT HOW STREQUAL "pkgconfig")
  run(${CMAKE_COMMAND} -S ${SOURCE}/tests/install/consumer -B ${WORK}/consumer ${compiler}
      -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_RUNTIME_OUTPUT_DIRECTORY=${prefix}/bin -DCMAKE_CXX_FLAGS=${flags})
  run(${CMAKE_COMMAND} --build ${WORK}/consumer)
  run(${EMULATOR} ${program})
  file(REMOVE ${program})
endif()

if(NOT HOW STREQUAL "cmake")
  set(ENV{PKG_CONFIG_LIBDIR} ${module_dir})
  execute_process(COMMAND ${PKG_CONFIG} --cflags --libs osupt
                  OUTPUT_VARIABLE options OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(options UNIX_COMMAND "${options}")
  file(MAKE_DIRECTORY ${prefix}/bin)
  run(${CXX} -std=c++17 ${flags} ${SOURCE}/tests/install/consumer/main.cpp -o ${program} ${options})
  run(${EMULATOR} ${program})
endif()
