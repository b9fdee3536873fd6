# Installation, packaging and editor-file generation for tnasm and the Tarn base library.
# Included at the end of the root CMakeLists.txt, after every target is defined.
#
#   cmake --install BUILD [--prefix DIR]   programs, man pages, completions, editor files,
#                                          libtarn_base.a with its headers under include/tarn,
#                                          the CMake package (find_package(Tarn)) and tarn.pc
#   cpack -G DEB (in BUILD)                the same as one Debian package
#   ninja tarn_editors                     regenerates editors/ from the opcode table

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(TARN_INCLUDE_SUBDIR tarn)
set(TARN_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Tarn)

# ---- the base library and its headers ----

# Headers are included from the root of the tree ("foundation/String.h"), so the installed
# copy keeps the subsystem folders below one include folder.
target_include_directories(tarn_base PUBLIC
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/${TARN_INCLUDE_SUBDIR}>)
set_target_properties(tarn_base PROPERTIES EXPORT_NAME base)

install(TARGETS tarn_base EXPORT TarnTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
foreach(dir ${TNASM_SUBSYSTEMS})
  if(NOT IS_DIRECTORY ${PROJECT_SOURCE_DIR}/${dir})
    continue()
  endif()
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${dir}/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${TARN_INCLUDE_SUBDIR}/${dir}
    COMPONENT development
    FILES_MATCHING PATTERN "*.h")
endforeach()

install(EXPORT TarnTargets NAMESPACE Tarn:: DESTINATION ${TARN_CMAKE_DIR} COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/TarnConfig.cmake.in
  ${PROJECT_BINARY_DIR}/TarnConfig.cmake
  INSTALL_DESTINATION ${TARN_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TarnConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TarnConfig.cmake ${PROJECT_BINARY_DIR}/TarnConfigVersion.cmake
  DESTINATION ${TARN_CMAKE_DIR} COMPONENT development)

# tarn.pc finds its prefix from its own place, so the same file serves every install prefix
# (cmake --install --prefix, the Debian package's /usr).
file(RELATIVE_PATH TARN_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" TARN_PC_TO_PREFIX "${TARN_PC_TO_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/tarn.pc.in ${PROJECT_BINARY_DIR}/tarn.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tarn.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# ---- programs and their documentation ----

foreach(program tnasm tndump)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT programs)
    install(FILES ${PROJECT_SOURCE_DIR}/man/${program}.1
      DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT programs)
    install(FILES ${PROJECT_SOURCE_DIR}/completions/${program}
      DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT programs)
  endif()
endforeach()

# The language server goes beside tnasm, where the editor files look for it.
if(TARGET tnasm-lsp)
  install(TARGETS tnasm-lsp RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT programs)
endif()

# The schema of tndump --json, for the scripts that read its documents.
if(TARGET tndump)
  install(FILES ${PROJECT_SOURCE_DIR}/man/tndump.schema.json
    DESTINATION ${CMAKE_INSTALL_DATADIR}/tarn COMPONENT programs)
endif()

install(FILES ${PROJECT_SOURCE_DIR}/editors/tnasm.vim
  DESTINATION ${CMAKE_INSTALL_DATADIR}/vim/vimfiles/syntax COMPONENT programs)
install(FILES ${PROJECT_SOURCE_DIR}/editors/ftdetect/tnasm.vim
  DESTINATION ${CMAKE_INSTALL_DATADIR}/vim/vimfiles/ftdetect COMPONENT programs)
install(FILES ${PROJECT_SOURCE_DIR}/editors/tnasm.tmLanguage.json
  ${PROJECT_SOURCE_DIR}/editors/package.json ${PROJECT_SOURCE_DIR}/editors/language-configuration.json
  ${PROJECT_SOURCE_DIR}/editors/extension.js
  DESTINATION ${CMAKE_INSTALL_DATADIR}/tarn/editors COMPONENT programs)

# ---- editor files ----

# The syntax files in editors/ are checked in and never rebuilt by the normal build; after a
# change to the opcode table or the directive list, `ninja tarn_editors` rewrites them and the
# editor test confirms they match.
add_executable(tarn_gen_editors EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/tools/gen_editors.cpp)
target_link_libraries(tarn_gen_editors PRIVATE tarn_base)
add_custom_target(tarn_editors
  COMMAND tarn_gen_editors ${PROJECT_SOURCE_DIR}/editors
  COMMENT "Regenerating the editor syntax files in editors/"
  VERBATIM)

# ---- Debian package ----

set(CPACK_PACKAGE_NAME tnasm)
set(CPACK_PACKAGE_VENDOR "Tarn Script")
set(CPACK_PACKAGE_CONTACT "Tarn Script developers <tarn@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Tarn Script assembler, disassembler and base library")
set(CPACK_PACKAGE_DESCRIPTION
  "tnasm assembles Tarn assembly source into compiled Tarn Script files that the Tarn Script\n\
runtime loads; tndump prints, checks and disassembles them. The package also holds the static\n\
base library that both share, with its headers, a CMake package and a pkg-config file.")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
# The programs link libmpdec (libmpdec4) and the C++ runtime dynamically; dpkg-shlibdeps names
# them with the versions the build needs, and the fixed list stands in where it is missing. A
# program built on the static library needs libmpdec's development files too.
find_program(TARN_DPKG_SHLIBDEPS dpkg-shlibdeps)
if(TARN_DPKG_SHLIBDEPS)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
else()
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libmpdec4, libstdc++6, libc6")
endif()
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "libmpdec-dev, pkgconf | pkg-config")
set(CPACK_STRIP_FILES ON)
include(CPack)
