# What `cmake --install` lays down: libraries, public headers, tools (see tools/), their manual pages and completion,
# the unit file, papers, and the CMake package LumConf with the targets LumConf::platform and LumConf::lumconf.
include(CMakePackageConfigHelpers)

set(lum_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/LumConf)
set(lum_header_dir ${CMAKE_INSTALL_INCLUDEDIR}/lumconf)

set_target_properties(lumplatform PROPERTIES EXPORT_NAME platform)
set_target_properties(lumconf PROPERTIES EXPORT_NAME lumconf)
set_target_properties(lumplatform lumconf PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH "$ORIGIN")
target_compile_features(lumplatform PUBLIC cxx_std_20)
install(TARGETS lumplatform lumconf EXPORT LumConfTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} INCLUDES DESTINATION ${lum_header_dir})
install(EXPORT LumConfTargets NAMESPACE LumConf:: DESTINATION ${lum_package_dir})

# The seam for tests of failing file operations is no part of what a program is built against.
install(DIRECTORY platform/include/ src/include/ DESTINATION ${lum_header_dir}
  FILES_MATCHING PATTERN "*.h" PATTERN LumPalFault.h EXCLUDE)

configure_package_config_file(cmake/LumConfConfig.cmake.in ${PROJECT_BINARY_DIR}/LumConfConfig.cmake
  INSTALL_DESTINATION ${lum_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LumConfConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/LumConfConfig.cmake ${PROJECT_BINARY_DIR}/LumConfConfigVersion.cmake
  DESTINATION ${lum_package_dir})

# For programs that are built without CMake.
file(RELATIVE_PATH lum_pc_to_libraries /${CMAKE_INSTALL_LIBDIR}/pkgconfig /${CMAKE_INSTALL_LIBDIR})
file(RELATIVE_PATH lum_pc_to_headers /${CMAKE_INSTALL_LIBDIR}/pkgconfig /${lum_header_dir})
configure_file(cmake/lumconf.pc.in ${PROJECT_BINARY_DIR}/lumconf.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/lumconf.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The unit names this folder.
set(lum_papers_dir ${CMAKE_INSTALL_DATADIR}/doc/lumconf)
install(FILES README.md SECURITY.md DESTINATION ${lum_papers_dir})
install(DIRECTORY docs DESTINATION ${lum_papers_dir} FILES_MATCHING PATTERN "*.md")
install(DIRECTORY examples DESTINATION ${lum_papers_dir})
install(CODE "set(papers_dir \"${lum_papers_dir}\")")
install(SCRIPT cmake/InstalledPapers.cmake)
file(GLOB pages CONFIGURE_DEPENDS packaging/man/*.1)
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
file(GLOB pages CONFIGURE_DEPENDS packaging/man/*.8)
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
# The shell looks for a program's completion by its name.
foreach(program lumpolicy lumsettings lumtrust lumevents lumclusterinfo lumappinstance lumcluster lumconfd)
  install(FILES packaging/completion/lumpolicy DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME ${program})
  install(FILES packaging/completion/lumpolicy.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
    RENAME ${program}.fish)
endforeach()
install(FILES packaging/completion/lumpolicy.zsh DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions
  RENAME _lumpolicy)
install(FILES packaging/conf.msg DESTINATION ${CMAKE_INSTALL_DATADIR}/lumconf)

# The service manager's files. The prefix may be chosen as late as `cmake --install --prefix`, so the units' paths
# to the programs are put in then.
install(FILES packaging/lumconfd.sysusers DESTINATION lib/sysusers.d RENAME lumconfd.conf)
install(FILES packaging/lumconfd.tmpfiles DESTINATION lib/tmpfiles.d RENAME lumconfd.conf)
install(CODE "set(unit_dir \"${PROJECT_SOURCE_DIR}/packaging\")
  set(bin_dir \"${CMAKE_INSTALL_BINDIR}\")")
install(SCRIPT cmake/InstalledUnits.cmake)
