#pragma once

namespace quillory::gtk {

/// Has pages told (`navigator.languages`) the languages that the menus are looked up in. The engine by itself knows the
/// locale only, not the list in LANGUAGE. Call it before the first view is made; main thread.
void tellPagesTheLanguages();

}
