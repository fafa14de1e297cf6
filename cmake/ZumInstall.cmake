# Where an install puts things, and the functions that install a tool or the plug-in there.
# Every folder is relative to the prefix, and every installed binary finds the libraries and
# the plug-in relative to itself, so that any prefix works (/usr, ~/.local, a package's root).
# The library folder is GNUInstallDirs' own: lib/, or Debian's lib/<multiarch>/ under /usr.

include(GNUInstallDirs)

# The plug-ins have a folder of their own, which a host searches and nothing else does.
set(ZUM_INSTALL_PLUGINDIR ${CMAKE_INSTALL_LIBDIR}/zum/plugins)
set(ZUM_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/ZumSdk)
set(ZUM_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/zumsdk)

# zum_relative_path(VARIABLE FROM TO): the path from one installed folder to another.
function(zum_relative_path variable from to)
    file(RELATIVE_PATH path /prefix/${from} /prefix/${to})
    set(${variable} ${path} PARENT_SCOPE)
endfunction()

# The installed plug-in folder as seen from the tools' folder, for the hosts' default.
zum_relative_path(ZUM_PLUGINDIR_FROM_BINDIR ${CMAKE_INSTALL_BINDIR} ${ZUM_INSTALL_PLUGINDIR})

# zum_install_into(TARGET DESTINATION): a binary into DESTINATION, with a runtime path that
# leads from there to the data model's library.
function(zum_install_into target destination)
    zum_relative_path(libdir ${destination} ${CMAKE_INSTALL_LIBDIR})
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${libdir}")
    install(TARGETS ${target} RUNTIME DESTINATION ${destination}
                              LIBRARY DESTINATION ${destination})
endfunction()

# zum_install_tool(TARGET): a command-line tool into bin/.
function(zum_install_tool target)
    zum_install_into(${target} ${CMAKE_INSTALL_BINDIR})
endfunction()

# zum_install_plugin(TARGET): a plug-in into the plug-in folder.
function(zum_install_plugin target)
    zum_install_into(${target} ${ZUM_INSTALL_PLUGINDIR})
endfunction()
