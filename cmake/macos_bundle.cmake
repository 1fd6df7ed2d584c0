# dustwhale-gui as Dustwhale.app, included from src/ui on a Mac once the app and its icon
# renderer are defined. The bundle carries an Info.plist made from packaging/macos/Info.plist.in
# (identifier, version, minimum system, the privacy texts for the folders macOS asks the user
# about, the update feed when one is configured), the icon rendered from the app's drawing, the
# update framework when the app links it, and, once installed, the Qt it runs on. Signing is left
# to the one who ships it (codesign --options runtime); the command line stays a plain program.

include(${CMAKE_CURRENT_LIST_DIR}/info_plist.cmake)
if(DUSTWHALE_UPDATER)
  dustwhale_info_plist(${CMAKE_CURRENT_BINARY_DIR}/Info.plist
    "${DUSTWHALE_SPARKLE_FEED_URL}" "${DUSTWHALE_SPARKLE_PUBLIC_KEY}")
else()
  dustwhale_info_plist(${CMAKE_CURRENT_BINARY_DIR}/Info.plist "" "")
endif()

set_target_properties(dustwhale-gui PROPERTIES
  MACOSX_BUNDLE TRUE
  OUTPUT_NAME Dustwhale
  MACOSX_BUNDLE_INFO_PLIST ${CMAKE_CURRENT_BINARY_DIR}/Info.plist
  # The frameworks the bundle carries (the update framework, and Qt's once deployed).
  BUILD_RPATH "@executable_path/../Frameworks"
  INSTALL_RPATH "@executable_path/../Frameworks")
# A tool of the build, not part of the app.
set_target_properties(dustwhale-render-icons PROPERTIES MACOSX_BUNDLE FALSE)

# The icon: the rendered sizes gathered into an icon set, which iconutil makes Dustwhale.icns.
set(iconset ${CMAKE_CURRENT_BINARY_DIR}/Dustwhale.iconset)
set(icns ${CMAKE_CURRENT_BINARY_DIR}/Dustwhale.icns)
set(copies)
foreach(entry 16:16x16 32:16x16@2x 32:32x32 64:32x32@2x 128:128x128 256:128x128@2x 256:256x256
              512:256x256@2x 512:512x512)
  string(REPLACE ":" ";" entry ${entry})
  list(GET entry 0 pixels)
  list(GET entry 1 name)
  list(APPEND copies COMMAND ${CMAKE_COMMAND} -E copy
    ${icon_root}/${pixels}x${pixels}/apps/dustwhale.png ${iconset}/icon_${name}.png)
endforeach()
add_custom_command(OUTPUT ${icns}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${iconset}
  ${copies}
  COMMAND iconutil -c icns -o ${icns} ${iconset}
  DEPENDS ${icon_pngs}
  COMMENT "Making the app icon")
set_source_files_properties(${icns} PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
target_sources(dustwhale-gui PRIVATE ${icns})

# The update framework inside the bundle, symbolic links kept (ditto), where the app links it.
if(DUSTWHALE_UPDATER)
  add_custom_command(TARGET dustwhale-gui POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E make_directory $<TARGET_BUNDLE_CONTENT_DIR:dustwhale-gui>/Frameworks
    COMMAND ditto ${SPARKLE_FRAMEWORK}
      $<TARGET_BUNDLE_CONTENT_DIR:dustwhale-gui>/Frameworks/Sparkle.framework
    COMMENT "Copying Sparkle.framework into the app")
endif()

# Qt's deployment (macdeployqt, through Qt's own script): the Qt frameworks, plugins and QML
# modules the app uses are copied into the bundle when it is built and again when it is
# installed (cmake --install <build> --prefix <folder> gives <folder>/Dustwhale.app).
if(Qt6_VERSION VERSION_GREATER_EQUAL 6.5)
  qt_generate_deploy_qml_app_script(TARGET dustwhale-gui OUTPUT_SCRIPT deploy_script
    MACOS_BUNDLE_POST_BUILD NO_UNSUPPORTED_PLATFORM_ERROR)
else()
  qt_generate_deploy_qml_app_script(TARGET dustwhale-gui FILENAME_VARIABLE deploy_script
    MACOS_BUNDLE_POST_BUILD NO_UNSUPPORTED_PLATFORM_ERROR)
endif()
install(SCRIPT ${deploy_script})
