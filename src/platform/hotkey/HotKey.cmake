# What the hot key needs beside its sources: the X server's protocol, and the portal's D-Bus interfaces.

pkg_check_modules(Xcb REQUIRED IMPORTED_TARGET GLOBAL xcb)
target_link_libraries(quillo_platform PRIVATE PkgConfig::Xcb)

set_source_files_properties(hotkey/org.freedesktop.portal.GlobalShortcuts.xml PROPERTIES
    INCLUDE "platform/hotkey/PortalShortcut.h")
qt_add_dbus_interface(quilloHotKeyInterfaces hotkey/org.freedesktop.portal.GlobalShortcuts.xml PortalShortcutsInterface)
qt_add_dbus_interface(quilloHotKeyInterfaces hotkey/org.freedesktop.portal.Request.xml PortalRequestInterface)
set_source_files_properties(${quilloHotKeyInterfaces} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
target_sources(quillo_platform PRIVATE ${quilloHotKeyInterfaces})
