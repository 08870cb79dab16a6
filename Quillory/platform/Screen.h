#pragma once

namespace quillory {

// Lengths are in logical pixels (1 at 100 %, 2 device pixels at 200 %); fractions are rounded to the
// nearest whole one where a window system wants integers.
struct Size {
    double width = 0;
    double height = 0;

    bool operator==(const Size&) const = default;
};

struct Screen {
    // What is left of the screen for windows once panels and docks have taken their place.
    Size visibleFrame;
};

}
