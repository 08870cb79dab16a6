#pragma once

namespace quillory::gtk {

// Without a GPU the same picture is there sooner, moves faster and takes less memory when neither the toolkit
// nor the web engine goes through an OpenGL that is only imitated by the processor.
//
// Finds out once how this display draws, and has the toolkit draw accordingly. Before the first window is made,
// with the display open; takes some 10 ms, for a context that the toolkit otherwise makes with its first window.
// The user's GSK_RENDERER stands above what is found: "cairo" means without OpenGL, anything else with it.
void chooseRendering();

// For the web engine, after chooseRendering. False also where it cannot be told.
bool rendersInSoftware();

}
