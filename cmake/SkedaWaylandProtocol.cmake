# skeda_wayland_protocol(<xml> <out-var>): the rule that makes a Wayland
# protocol's client header and code from its description with
# wayland-scanner, in <build dir>/wayland of the calling directory. Sets
# <out-var> to the two generated files; the rule belongs to the targets of
# the calling directory, which add the files to their sources.
function(skeda_wayland_protocol xml out_var)
  get_filename_component(name ${xml} NAME_WE)
  set(generated ${CMAKE_CURRENT_BINARY_DIR}/wayland)
  add_custom_command(
    OUTPUT ${generated}/${name}-client-protocol.h ${generated}/${name}-protocol.c
    COMMAND ${CMAKE_COMMAND} -E make_directory ${generated}
    COMMAND ${SKEDA_WAYLAND_SCANNER} client-header ${xml} ${generated}/${name}-client-protocol.h
    COMMAND ${SKEDA_WAYLAND_SCANNER} private-code ${xml} ${generated}/${name}-protocol.c
    DEPENDS ${xml})
  set(${out_var} ${generated}/${name}-client-protocol.h ${generated}/${name}-protocol.c
      PARENT_SCOPE)
endfunction()
