# osupt_runtime_dlls: the compiler's run-time DLLs that a program built with MinGW needs beside it.
set(osupt_runtime_dlls)
foreach(name libstdc++-6.dll libgcc_s_dw2-1.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
                  OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(IS_ABSOLUTE "${path}" AND EXISTS "${path}")
    list(APPEND osupt_runtime_dlls "${path}")
  endif()
endforeach()
