# The platform seam's sources for the system being built for: the files of platform/ itself and
# then those of linux/ or of macos/. This file alone chooses by system; no source does.
#
#   dustwhale_platform_sources(<var>)    the seam's sources for the core library
#   dustwhale_platform_link(<target>)    what the core library links for them
#   dustwhale_add_updater(<target>)      the updater, a library of its own for the desktop app
#                                        only (the command line never carries one)

set(DUSTWHALE_PLATFORM_DIR ${CMAKE_CURRENT_LIST_DIR})

function(dustwhale_platform_sources out)
  set(dir ${DUSTWHALE_PLATFORM_DIR})
  file(GLOB sources CONFIGURE_DEPENDS ${dir}/*.cpp)
  list(REMOVE_ITEM sources ${dir}/no_updater.cpp)
  if(APPLE)
    file(GLOB system CONFIGURE_DEPENDS ${dir}/macos/*.cpp ${dir}/macos/*.mm)
  else()
    file(GLOB system CONFIGURE_DEPENDS ${dir}/linux/*.cpp)
  endif()
  set(${out} ${sources} ${system} PARENT_SCOPE)
endfunction()

function(dustwhale_platform_link target)
  if(APPLE)
    # Objective-C++ sources manage their objects' lifetimes by ARC.
    target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc>)
    target_link_libraries(${target} PRIVATE
      "-framework Foundation" "-framework AppKit" "-framework CoreServices")
  else()
    target_link_libraries(${target} PRIVATE PkgConfig::UUID)
  endif()
endfunction()

# The standard updater of the update framework where it was found and the feed keys are set
# (DUSTWHALE_UPDATER, cmake/macos.cmake); otherwise no updater.
function(dustwhale_add_updater target)
  set(dir ${DUSTWHALE_PLATFORM_DIR})
  if(DUSTWHALE_UPDATER)
    # updateFeedConfigured comes from the core library, which the app links too.
    add_library(${target} STATIC ${dir}/macos/sparkle/updates_sparkle.mm)
    get_filename_component(frameworks ${SPARKLE_FRAMEWORK} DIRECTORY)
    target_compile_options(${target} PRIVATE -fobjc-arc -F${frameworks})
    target_link_libraries(${target} PUBLIC ${SPARKLE_FRAMEWORK} "-framework Foundation")
  else()
    add_library(${target} STATIC ${dir}/no_updater.cpp)
  endif()
  target_include_directories(${target} PUBLIC ${dir}/..)
endfunction()
