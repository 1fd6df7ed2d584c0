# The app's Info.plist, made from packaging/macos/Info.plist.in: the bundle identifier, the
# project's version, the build number, the minimum system version, the privacy texts and, when
# both are given, the update feed (SUFeedURL) and its key (SUPublicEDKey). Used by the Mac's
# bundle, and by the tests on every system, which read what it makes.
#   dustwhale_info_plist(<output file> <feed URL> <public key>)

set(DUSTWHALE_INFO_PLIST_TEMPLATE ${CMAKE_CURRENT_LIST_DIR}/../packaging/macos/Info.plist.in)

function(dustwhale_info_plist output feed key)
  set(DUSTWHALE_EXECUTABLE Dustwhale)
  set(DUSTWHALE_BUNDLE_ID com.dustwhale.Dustwhale)  # kBundleID in platform/locations.h
  if(NOT DUSTWHALE_BUILD_NUMBER)
    set(DUSTWHALE_BUILD_NUMBER ${PROJECT_VERSION})
  endif()
  if(NOT CMAKE_OSX_DEPLOYMENT_TARGET)
    set(CMAKE_OSX_DEPLOYMENT_TARGET 12.0)
  endif()
  string(STRIP "${feed}" feed)
  string(STRIP "${key}" key)
  set(DUSTWHALE_UPDATE_KEYS "")
  if(feed AND key)
    set(DUSTWHALE_UPDATE_KEYS
      "\t<key>SUFeedURL</key>\n\t<string>${feed}</string>\n\t<key>SUPublicEDKey</key>\n\t<string>${key}</string>\n")
  endif()
  configure_file(${DUSTWHALE_INFO_PLIST_TEMPLATE} ${output} @ONLY)
endfunction()
