# SPDX-License-Identifier: Apache-2.0
# cmake --install: programs, manual, completions, examples, and what the services need.
include(GNUInstallDirs)
set(ZORVA_ZSH_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE PATH "Directory of zsh completions")
set(ZORVA_UNIT_DIR ${CMAKE_INSTALL_PREFIX}/lib/systemd/system CACHE PATH "Directory of systemd units")
set(packaging ${CMAKE_CURRENT_LIST_DIR})

set(built zorva zorva-notify)
if(ZORVA_SIM)
  list(APPEND built zorva-sim)
  file(GLOB scenarios CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/scenarios/*)
  install(FILES ${scenarios} DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
endif()
if(ZORVA_REPORT)
  list(APPEND built zorva-redact)
endif()
if(TARGET zorva-report)
  list(APPEND built zorva-report)
endif()
install(TARGETS ${built})

foreach(program ${built})
  install(FILES ${packaging}/man/${program}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${packaging}/completions/zorva.bash RENAME ${program}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endforeach()
install(FILES ${packaging}/completions/_zorva DESTINATION ${ZORVA_ZSH_DIR})

set(BINDIR ${CMAKE_INSTALL_FULL_BINDIR})
configure_file(${packaging}/zorva.service ${CMAKE_BINARY_DIR}/packaging/zorva.service @ONLY)
configure_file(${packaging}/zorva.openrc ${CMAKE_BINARY_DIR}/packaging/zorva.openrc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/packaging/zorva.service DESTINATION ${ZORVA_UNIT_DIR})
install(FILES ${packaging}/zorva.sysusers RENAME zorva.conf DESTINATION ${CMAKE_INSTALL_PREFIX}/lib/sysusers.d)
install(FILES ${packaging}/zorva.tmpfiles RENAME zorva.conf DESTINATION ${CMAKE_INSTALL_PREFIX}/lib/tmpfiles.d)
install(PROGRAMS ${packaging}/zorva-keep DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
# OpenRC scripts belong in /etc; distributions that use OpenRC copy the script from here.
install(PROGRAMS ${CMAKE_BINARY_DIR}/packaging/zorva.openrc DESTINATION ${CMAKE_INSTALL_DOCDIR})
