# SPDX-License-Identifier: GPL-3.0-or-later
# Makes the kestrel target a macOS application bundle: Info.plist with the bundle identifier, an
# icon set rendered from the SVG, and a real Dock app (LSUIElement off), since the main window
# and its menu are how people reach the settings. Included from the folder that defines kestrel.
# Needs rsvg-convert (Homebrew's librsvg) besides Xcode's iconutil.
include(${PROJECT_SOURCE_DIR}/packaging/KestrelIcon.cmake)
find_program(ICONUTIL iconutil REQUIRED)

set(iconset ${CMAKE_CURRENT_BINARY_DIR}/Kestrel.iconset)
set(icon_pngs)
foreach(size 16 32 128 256 512)
    math(EXPR double "${size} * 2")
    kestrel_render_icon(${size} ${iconset}/icon_${size}x${size}.png)
    kestrel_render_icon(${double} ${iconset}/icon_${size}x${size}@2x.png)
    list(APPEND icon_pngs ${iconset}/icon_${size}x${size}.png ${iconset}/icon_${size}x${size}@2x.png)
endforeach()
set(icns ${CMAKE_CURRENT_BINARY_DIR}/Kestrel.icns)
add_custom_command(OUTPUT ${icns}
    COMMAND ${ICONUTIL} --convert icns --output ${icns} ${iconset}
    DEPENDS ${icon_pngs}
    VERBATIM)
target_sources(kestrel PRIVATE ${icns})
set_source_files_properties(${icns} PROPERTIES MACOSX_PACKAGE_LOCATION Resources)

set_target_properties(kestrel PROPERTIES
    MACOSX_BUNDLE ON
    OUTPUT_NAME Kestrel
    MACOSX_BUNDLE_INFO_PLIST ${PROJECT_SOURCE_DIR}/packaging/Info.plist.in
    MACOSX_BUNDLE_GUI_IDENTIFIER ${KESTREL_APP_ID}
    MACOSX_BUNDLE_BUNDLE_NAME Kestrel
    MACOSX_BUNDLE_ICON_FILE Kestrel.icns
    MACOSX_BUNDLE_SHORT_VERSION_STRING ${PROJECT_VERSION}
    MACOSX_BUNDLE_BUNDLE_VERSION ${PROJECT_VERSION})
