#pragma once

namespace quillory::gtk {

// Lets a page fetch what the engine cannot give it, by addresses that no other page notices:
//     quillory:fonts  the families of the fonts that are installed, a sorted JSON list of texts
//     quillory:png    the picture that is the body, in any format that the image loaders read, as a PNG file
// Both are made in other threads. Status 404 is for other addresses, 415 for a body that is no such picture. Only pages
// that were loaded from files are answered, and may read the answer. To be called once, before there is a page.
void answerPageRequests();

}
