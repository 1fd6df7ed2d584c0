#pragma once
// The app's start-up milestones, for the start-up benchmark: with DUSTWHALE_MILESTONES set, each
// is printed to stderr as "dustwhale-gui: milestone <name> <ms> main-thread-cpu <ms>": the
// milliseconds since the process started, and the main thread's CPU time by then. The start is the
// kernel's (/proc/self/stat, in clock ticks of 10 ms, rounded down), so the time from exec to main
// counts and a figure is at most one tick too high.
//
//   main          main() is entered
//   application   the application object is made (the display is connected)
//   bridge        the model is made (the log's interrupted moves recovered)
//   scan-started  the first scan runs on a worker
//   qml-loaded    the window's QML is created and the window shown
//   first-frame   the window's first frame is on screen
//   scan-done     the first scan's results reached the model, on the main thread
//   overview      the first frame drawn after that, which shows Overview's numbers
//
// With DUSTWHALE_MILESTONES=quit the app prints its peak memory ("peak-memory-kib") and quits
// after the overview milestone.

#include <string_view>

class QQuickWindow;

namespace dw::ui {

class AppBridge;

namespace milestones {

bool enabled();
void mark(std::string_view name);
// Marks first-frame, scan-done and overview as the window and the bridge reach them.
void watch(QQuickWindow& window, AppBridge& bridge);

}  // namespace milestones
}  // namespace dw::ui
