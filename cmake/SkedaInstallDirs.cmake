# Where an installation puts things, relative to the install prefix. Included
# by the top-level install rules and by the tests that check an installation.
#
#   SKEDA_INSTALL_PLUGINDIR  Qt's plugin folder; libSkeda goes into skeda/
#   SKEDA_INSTALL_CMAKEDIR   the CMake package
#
# The plugin folder is Qt's own, taken relative to Qt's prefix
# (lib/x86_64-linux-gnu/qt5/plugins with Debian's Qt): under the prefix /usr,
# which the Debian package uses, Qt's loader then finds the plugin by the name
# "skeda/libSkeda.so". Under another prefix a host adds that folder to
# QT_PLUGIN_PATH, or loads the file by its path.
include(GNUInstallDirs)

if(NOT DEFINED SKEDA_INSTALL_PLUGINDIR)
  set(_skeda_plugindir "${CMAKE_INSTALL_LIBDIR}/qt5/plugins")
  get_target_property(_skeda_qmake Qt5::qmake IMPORTED_LOCATION)
  if(_skeda_qmake)
    execute_process(COMMAND "${_skeda_qmake}" -query QT_INSTALL_PREFIX
      OUTPUT_VARIABLE _skeda_qt_prefix OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    execute_process(COMMAND "${_skeda_qmake}" -query QT_INSTALL_PLUGINS
      OUTPUT_VARIABLE _skeda_qt_plugins OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(_skeda_qt_prefix AND _skeda_qt_plugins)
      file(RELATIVE_PATH _skeda_relative "${_skeda_qt_prefix}" "${_skeda_qt_plugins}")
      if(NOT _skeda_relative MATCHES "^\\.\\.")
        set(_skeda_plugindir "${_skeda_relative}")
      endif()
    endif()
  endif()
  set(SKEDA_INSTALL_PLUGINDIR "${_skeda_plugindir}" CACHE STRING
    "Qt plugin folder relative to the install prefix; libSkeda goes into its subfolder skeda/")
endif()
set(SKEDA_INSTALL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/Skeda" CACHE STRING
  "Folder of the CMake package, relative to the install prefix")
