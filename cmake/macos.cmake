# Building on a Mac: the Objective-C++ of platform/macos/, and the update framework (Sparkle),
# linked into the app only when it is found and the update feed's keys are given:
#   -DDUSTWHALE_SPARKLE_FEED_URL=https://.../appcast.xml -DDUSTWHALE_SPARKLE_PUBLIC_KEY=<EdDSA key>
#   -DCMAKE_FRAMEWORK_PATH=<folder holding Sparkle.framework>
# Without them "Check for Updates…" stays unavailable, as on Linux.

enable_language(OBJCXX)

set(DUSTWHALE_SPARKLE_FEED_URL "" CACHE STRING "The app's update feed (SUFeedURL)")
set(DUSTWHALE_SPARKLE_PUBLIC_KEY "" CACHE STRING "The feed's EdDSA public key (SUPublicEDKey)")
set(DUSTWHALE_BUILD_NUMBER "${PROJECT_VERSION}" CACHE STRING "The app's build (CFBundleVersion)")

find_library(SPARKLE_FRAMEWORK Sparkle)
string(STRIP "${DUSTWHALE_SPARKLE_FEED_URL}" feed)
string(STRIP "${DUSTWHALE_SPARKLE_PUBLIC_KEY}" key)
if(SPARKLE_FRAMEWORK AND feed AND key)
  set(DUSTWHALE_UPDATER TRUE)
  message(STATUS "Updates: Sparkle at ${SPARKLE_FRAMEWORK}, feed ${feed}")
else()
  set(DUSTWHALE_UPDATER FALSE)
  message(STATUS "Updates: not configured (Sparkle.framework and both feed keys are needed)")
endif()
