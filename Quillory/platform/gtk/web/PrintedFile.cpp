#include "platform/gtk/web/PrintedFile.h"

#include <sys/mman.h>

#include <algorithm>
#include <charconv>

namespace quillory::gtk {

namespace {

constexpr std::size_t mostPages = 1000;
constexpr unsigned longestSide = 14400; // that a PDF file can have

// Takes the number at the text's beginning off it; 0 if there is none that a side can be.
unsigned takeSide(std::string_view& text)
{
    unsigned side = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), side);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc() && side <= longestSide ? side : 0;
}

bool take(std::string_view& text, char character)
{
    const bool isThere = text.starts_with(character);
    text.remove_prefix(isThere ? 1 : 0);
    return isThere;
}

std::string mediaBox(unsigned width, unsigned height)
{
    return "/MediaBox [0 0 " + std::to_string(width) + " " + std::to_string(height) + "]";
}

}

std::vector<PageSize> readPageSizes(std::string_view list)
{
    std::vector<PageSize> pages;
    do {
        const auto width = takeSide(list);
        const auto height = take(list, 'x') ? takeSide(list) : 0;
        if (width == 0 || height == 0 || pages.size() == mostPages)
            return {};
        pages.push_back({width, height});
    } while (take(list, ','));
    return list.empty() ? pages : std::vector<PageSize>();
}

PrintedFile::PrintedFile(unsigned side, std::vector<PageSize> pages)
    : m_side(side)
    , m_pages(std::move(pages))
    , m_file(memfd_create("quillory-print", MFD_CLOEXEC))
{
}

std::string PrintedFile::uri() const
{
    return m_file ? "file:///proc/self/fd/" + std::to_string(m_file.get()) : std::string();
}

GBytesPtr PrintedFile::content() const
{
    const std::unique_ptr<GMappedFile, FreedBy<g_mapped_file_unref>> file(
        g_mapped_file_new_from_fd(m_file.get(), TRUE, nullptr));
    if (!file)
        return nullptr;
    auto* memory = reinterpret_cast<std::byte*>(g_mapped_file_get_contents(file.get()));
    if (!cutPrintedPages({memory, g_mapped_file_get_length(file.get())}, m_side, m_pages))
        return nullptr;
    return GBytesPtr(g_mapped_file_get_bytes(file.get()));
}

// The engine writes the pages' dictionaries in plain text at the end of the file, in the pages' order. A smaller box is
// never longer.
bool cutPrintedPages(std::span<std::byte> pdf, unsigned side, std::span<const PageSize> pages)
{
    const std::string_view file(reinterpret_cast<const char*>(pdf.data()), pdf.size());
    const auto printed = mediaBox(side, side);
    auto place = file.rfind(printed);
    for (auto page = pages.rbegin(); page != pages.rend(); ++page) {
        const auto& [width, height] = *page;
        if (place == std::string_view::npos || width > side || height > side)
            return false;
        auto box = mediaBox(width, height);
        box.resize(printed.size(), ' ');
        std::ranges::copy(std::as_bytes(std::span(box)), pdf.begin() + static_cast<std::ptrdiff_t>(place));
        place = file.rfind(printed, place);
    }
    return place == std::string_view::npos;
}

}
