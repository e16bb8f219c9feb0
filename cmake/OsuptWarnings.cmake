# Everything of this project compiles without a warning, on GCC and on Clang.
add_library(osupt_warnings INTERFACE)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  target_compile_options(osupt_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
    -Wcast-qual -Wundef -Wformat=2)
  if(OSUPT_WERROR)
    target_compile_options(osupt_warnings INTERFACE -Werror)
  endif()
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(osupt_warnings INTERFACE -Wduplicated-cond -Wlogical-op)
endif()
