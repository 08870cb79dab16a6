#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/glib/GObjectPtr.h"
#include "platform/gtk/application/BackgroundQueue.h"
#include "platform/gtk/web/PrintedFile.h"

namespace quillory::gtk {

// Makes PDF files with the engine and the toolkit's own printer for files, which needs no print service. Each
// document gets a process of the engine of its own, which ends with it: the page goes on meanwhile. Main thread only.
class DocumentPrinter {
public:
    explicit DocumentPrinter(BackgroundQueue& backgroundQueue);
    DocumentPrinter(const DocumentPrinter&) = delete;
    DocumentPrinter& operator=(const DocumentPrinter&) = delete;

    // Gets a PDF file, or null and what went wrong in words.
    using Completion = std::function<void(GBytesPtr pdf, const std::string& error)>;

    // Each child of the body of the document, which is HTML in UTF-8, is a page, whose size is the one in its place in
    // `pages`. No code of the document runs, and nothing is loaded for it but data URLs. One document after the other;
    // `completion` is called once, on a later turn.
    void print(GBytesPtr html, std::vector<PageSize> pages, Completion completion);

private:
    class Job;

    void startNext();

    BackgroundQueue& m_backgroundQueue;
    std::deque<std::shared_ptr<Job>> m_jobs; // the first is at work
};

}
