# cmake --install: headers, library, CMake package, pkg-config module, and on Windows the run-time DLLs that the
# library shares with the programs that use it.
include(CMakePackageConfigHelpers)

set(osupt_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/osupt)

install(TARGETS osupt EXPORT osupt-targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/osupt FILES_MATCHING PATTERN "*.h")
install(EXPORT osupt-targets NAMESPACE osupt:: DESTINATION ${osupt_cmake_dir})

configure_package_config_file(cmake/osupt-config.cmake.in ${PROJECT_BINARY_DIR}/osupt-config.cmake
  INSTALL_DESTINATION ${osupt_cmake_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/osupt-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/osupt-config.cmake ${PROJECT_BINARY_DIR}/osupt-config-version.cmake
  DESTINATION ${osupt_cmake_dir})

# The module finds its files relative to itself, so that an installed tree can be moved.
file(RELATIVE_PATH osupt_pc_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
if(OSUPT_SHARED)
  set(osupt_pc_cflags "")
  set(osupt_pc_libs "")
else()
  set(osupt_pc_cflags " -DOSUPT_STATIC")
  # Who links the static library links what it needs too.
  set(osupt_pc_libs " -pthread")
  if(WIN32)
    string(APPEND osupt_pc_libs " -ladvapi32 -lntdll -lole32 -loleaut32 -lshell32 -luser32")
  endif()
endif()
configure_file(cmake/osupt.pc.in ${PROJECT_BINARY_DIR}/osupt.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/osupt.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(MINGW)
  install(FILES ${osupt_runtime_dlls} DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
