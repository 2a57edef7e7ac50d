#include "host/chart/font_setup.h"

#include <pango/pangocairo.h>

namespace host::chart {

void startFontSetup() {
    // Making the thread's font map starts the font library's set-up on a thread of its own; the
    // first layout waits only for what is left of it.
    pango_cairo_font_map_get_default();
}

}  // namespace host::chart
