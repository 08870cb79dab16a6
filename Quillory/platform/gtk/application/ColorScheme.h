#pragma once

namespace quillory::gtk {

// Has the windows, and the page with them, be dark or light and have the accent that the desktop prefers, now and
// whenever that changes.
// The desktop's portal knows; without one, or where it has no preference, the toolkit's own settings stay. A theme that
// is dark by its name stays dark. Main thread, with the display open, once; does not wait for the answer.
void followColorScheme();

}
