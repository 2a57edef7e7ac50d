#pragma once
// Font set-up before the first chart needs it.

namespace host::chart {

// Starts the font library's set-up (reading its configuration and font list takes a few
// milliseconds) in the background, so that it overlaps with reading the job and its data
// instead of holding up the first chart. Returns at once; call it on the thread that draws.
void startFontSetup();

}  // namespace host::chart
