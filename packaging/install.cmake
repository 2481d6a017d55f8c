# What `cmake --install` puts where, in two components: `zebmail`, all that runs, and `libzebapi-dev`,
# what it takes to build a plug-in.
#
# The library is the panel's own: programs outside of this project load plug-ins, or are loaded as
# one, and neither looks for it by name. So it lies in a private folder, with the plug-ins below it,
# and the command finds it by its run path.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(private_dir lib/zebmail)
set(header_dir ${CMAKE_INSTALL_INCLUDEDIR}/zebapi)
set(cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zebapi)

set_target_properties(zebmail PROPERTIES INSTALL_RPATH "\$ORIGIN/../${private_dir}")

install(TARGETS zebmail zebmail-postmap
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT zebmail)
install(FILES ${PROJECT_BINARY_DIR}/zebmail-postalias
  DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT zebmail)
install(TARGETS zebmail-answer
  RUNTIME DESTINATION ${private_dir} COMPONENT zebmail)
install(TARGETS email_postfix
  LIBRARY DESTINATION ${private_dir}/modules COMPONENT zebmail)
install(TARGETS zebapi EXPORT zebapi-targets
  LIBRARY DESTINATION ${private_dir} COMPONENT zebmail
  INCLUDES DESTINATION ${header_dir})

target_compile_features(zebapi INTERFACE cxx_std_20)

file(GLOB host_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/host/*.h)
install(FILES ${host_headers} DESTINATION ${header_dir}/host COMPONENT libzebapi-dev)
install(FILES ${PROJECT_SOURCE_DIR}/email/mta_interface.h
  DESTINATION ${header_dir}/email COMPONENT libzebapi-dev)

install(EXPORT zebapi-targets NAMESPACE zebapi::
  DESTINATION ${cmake_dir} COMPONENT libzebapi-dev)
configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/zebapi-config.cmake.in ${PROJECT_BINARY_DIR}/zebapi-config.cmake
  INSTALL_DESTINATION ${cmake_dir}
  PATH_VARS private_dir)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zebapi-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/zebapi-config.cmake ${PROJECT_BINARY_DIR}/zebapi-config-version.cmake
  DESTINATION ${cmake_dir} COMPONENT libzebapi-dev)

file(RELATIVE_PATH prefix_from_pkgconfig
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${CMAKE_CURRENT_LIST_DIR}/zebapi.pc.in ${PROJECT_BINARY_DIR}/zebapi.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zebapi.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT libzebapi-dev)

install(FILES
  ${PROJECT_BINARY_DIR}/manual/zebmail.1 ${PROJECT_BINARY_DIR}/manual/zebmail-postmap.1
  ${PROJECT_BINARY_DIR}/manual/zebmail-postalias.1
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT zebmail)
install(FILES ${PROJECT_BINARY_DIR}/manual/zebmail.toml.5
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT zebmail)

# Where Debian's shells look for the completion of commands from packages.
install(FILES ${PROJECT_SOURCE_DIR}/packaging/completion/zebmail.bash
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME zebmail COMPONENT zebmail)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/completion/_zebmail
  DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT zebmail)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/completion/zebmail.fish
  DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT zebmail)
