# What the status item needs beside its sources: the adaptors made from the D-Bus interfaces, and the icons.

qt_add_dbus_adaptor(quilloTrayAdaptors tray/org.kde.StatusNotifierItem.xml
    platform/tray/StatusNotifierItem.h quillo::StatusNotifierItem statusnotifieritemadaptor StatusNotifierItemAdaptor)
qt_add_dbus_adaptor(quilloTrayAdaptors tray/com.canonical.dbusmenu.xml
    platform/tray/DBusMenu.h quillo::DBusMenu dbusmenuadaptor DBusMenuAdaptor)
set_source_files_properties(${quilloTrayAdaptors} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
target_sources(quillo_platform PRIVATE ${quilloTrayAdaptors})
target_include_directories(quillo_platform PRIVATE "${CMAKE_CURRENT_BINARY_DIR}")

file(GLOB quilloSymbols CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/packaging/icons/hicolor/symbolic/apps/*.svg")
qt_add_resources(quillo_platform icons
    PREFIX "/icons"
    BASE "${CMAKE_SOURCE_DIR}/packaging/icons"
    FILES ${quilloSymbols} "${CMAKE_SOURCE_DIR}/packaging/icons/hicolor/scalable/apps/app.quillo.Quillo.svg")

# From the folder of the installed executable to that of the installed icons.
file(RELATIVE_PATH quilloIconsFromExecutable "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_DATADIR}/icons")
set_source_files_properties(tray/IconFolder.cpp PROPERTIES
    COMPILE_DEFINITIONS "QUILLO_ICONS_FROM_EXECUTABLE=\"${quilloIconsFromExecutable}\"")

install(DIRECTORY "${CMAKE_SOURCE_DIR}/packaging/icons/hicolor" DESTINATION "${CMAKE_INSTALL_DATADIR}/icons")
