# The Windows installer (cpack -G NSIS in the Windows build): oquivran-<version>-win64.exe
# installs the COM server with the DLLs beside it, registers it for the machine and
# unregisters it on uninstall. 64-bit, as the server: only 64-bit hosts load it.
set(CPACK_GENERATOR NSIS)
set(CPACK_PACKAGE_NAME oquivran)
set(CPACK_PACKAGE_VENDOR oQUIVRAN)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_INSTALL_DIRECTORY oQUIVRAN)
set(CPACK_PACKAGE_FILE_NAME oquivran-${PROJECT_VERSION}-win64)
# The server's component alone: the DLLs and Qt's plugin folders, no development files.
set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_BINARY_DIR};oquivran;server;/")
set(CPACK_NSIS_PACKAGE_NAME oQUIVRAN)
set(CPACK_NSIS_DISPLAY_NAME "oQUIVRAN ${PROJECT_VERSION}")
set(CPACK_NSIS_INSTALL_ROOT "$PROGRAMFILES64")
# A 64-bit installer: it loads the 64-bit server to register it, in the 64-bit registry.
set(CPACK_NSIS_DEFINES "Target amd64-unicode")
set(CPACK_NSIS_EXTRA_INSTALL_COMMANDS "RegDLL '$INSTDIR\\\\oQUIVRAN.dll'")
set(CPACK_NSIS_EXTRA_UNINSTALL_COMMANDS "UnRegDLL '$INSTDIR\\\\oQUIVRAN.dll'")
include(CPack)
