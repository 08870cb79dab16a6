#pragma once

#include <cstddef>

#include "platform/gtk/clipboard/Pasteboard.h"
#include "platform/gtk/web/DocumentPrinter.h"

namespace quillory::gtk {

// Lets a page fetch what the engine cannot give it, by addresses that no other page notices:
//     quillory:fonts  the families of the fonts that are installed, a sorted JSON list of texts
//     quillory:png    the picture that is the body, in any format that the image loaders read, as a PNG file
//     quillory:dropped where the file that has just come was dropped on the page, as {"clientX": …, "clientY": …}
//     quillory:copied offers other programs a picture of what the page has copied; answered when one wants it, and by
//                     the page with a second request, whose body is the PNG file
//     quillory:pdf?595x842,300x225  the HTML document that is the body as a PDF file, with pages of these sizes in
//     points
// The first two are made in other threads, the last in another process. Status 404 is for other addresses, 410 for
// what is over, 415 for a body that is no such picture, 400 for sizes that no pages have, 500, with the reason
// as its text, for a document that could not be printed. Only pages that were loaded from files are answered, and may
// read the answer. To be called once, before there is a page.
void answerPageRequests(Pasteboard& pasteboard, DocumentPrinter& printer);

// Some files were dropped on the page: a page may ask for the place once for each, within half a minute.
void noteDrop(double x, double y, std::size_t files);

}
