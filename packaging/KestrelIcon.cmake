# SPDX-License-Identifier: GPL-3.0-or-later
# The application icon is drawn once, as SVG; every bitmap size a platform asks for is rendered
# from it at build time.
find_program(RSVG_CONVERT rsvg-convert REQUIRED)
set(KESTREL_ICON_SVG ${PROJECT_SOURCE_DIR}/src/app/icon/kestrel.svg)

function(kestrel_render_icon size output)
    get_filename_component(folder ${output} DIRECTORY)
    add_custom_command(OUTPUT ${output}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
        COMMAND ${RSVG_CONVERT} --width=${size} --height=${size} --output=${output}
                ${KESTREL_ICON_SVG}
        DEPENDS ${KESTREL_ICON_SVG}
        COMMENT "Rendering the ${size} pixel icon"
        VERBATIM)
endfunction()
