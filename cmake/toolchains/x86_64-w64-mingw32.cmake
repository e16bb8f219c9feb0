# 64-bit Windows with MinGW-w64, POSIX thread model (std::thread and std::mutex exist there).
set(osupt_triple x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
