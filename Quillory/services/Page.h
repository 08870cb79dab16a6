#pragma once

#include <string>

namespace quillory {

struct DataURL;

// What the services can tell the page. Each call returns as soon as the page has been asked; its
// outcome is logged when it is known. Contents are taken over and kept until the page has them. Main thread only.
class Page {
public:
    virtual ~Page() = default;
    virtual void sendFileContentToPage(std::string content) = 0;
    virtual void sendImageToPage(DataURL image) = 0;
    virtual void sendPasteContentToPage(std::string content) = 0;
    // How a request ended, as JSON. Nothing is logged.
    virtual void sendResultToPage(std::string result) = 0;
};

}
