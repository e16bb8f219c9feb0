# What both Windows toolchains share; osupt_triple says which one it is.
set(CMAKE_SYSTEM_NAME Windows)
string(REGEX REPLACE "-.*" "" CMAKE_SYSTEM_PROCESSOR ${osupt_triple})
set(CMAKE_C_COMPILER ${osupt_triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${osupt_triple}-g++-posix)
set(CMAKE_RC_COMPILER ${osupt_triple}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${osupt_triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# Packages may also lie under CMAKE_PREFIX_PATH, where an installed osupt is.
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# Programs of the build run under Wine where the host has it.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../run-wine.sh)
