#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/glib/GObjectPtr.h"
#include "support/FileDescriptor.h"

namespace quillory::gtk {

// Of a page of paper, in points: an inch has 72.
struct PageSize {
    unsigned width = 0;
    unsigned height = 0;
};

// As in "595x842,300x225", of 1,000 pages and 14,400 points a side at most; none for any other text.
std::vector<PageSize> readPageSizes(std::string_view list);

// A PDF file that is printed into memory: nothing of it is left behind, whatever happens.
class PrintedFile {
public:
    // On squares of `side` points, from which each page is cut: the part in the lower left corner that is as large as
    // `pages` says.
    PrintedFile(unsigned side, std::vector<PageSize> pages);

    // For this process, as long as this lives. Empty if the file could not be made.
    std::string uri() const;

    // What was printed, with the pages cut; null if there are not as many as there should be. Any thread.
    GBytesPtr content() const;

private:
    unsigned m_side;
    std::vector<PageSize> m_pages;
    FileDescriptor m_file;
};

// False, and the file is of no use, if it has not as many pages.
bool cutPrintedPages(std::span<std::byte> pdf, unsigned side, std::span<const PageSize> pages);

}
