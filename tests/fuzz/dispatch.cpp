// Messages: bodies of any shape under any name lead to the lines that their shape calls for, and to a panel
// only where they are accepted. The first byte chooses the name; the body follows as MessagePack.
#include "check.h"
#include "fake/FakePlatform.h"
#include "fake/PlainValue.h"
#include "web/Coordinator.h"

using namespace quillory;
using fake::PlainValue;
using nlohmann::json;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr const char* names[] = {"nativeDownload",    "nativeBatchDownload", "nativeCopy", "nativeFilePicker",
                                     "nativeImagePicker", "nativePaste",         "another"};
    if (size == 0)
        return 0;
    const std::string name = names[data[0] % std::size(names)];
    auto body = json::from_msgpack(data + 1, data + size, false, false);
    if (body.is_discarded())
        body = nullptr;

    fake::FakePlatform platform;
    const auto coordinator = web::WebView::Coordinator::make(platform);
    const auto configuration = platform.makeWebViewConfiguration();
    coordinator->didReceiveScriptMessage(configuration->userContentController(),
                                         {name, std::make_shared<PlainValue>(body)});
    platform.runMainQueue();

    const auto lines = platform.lines;
    const auto only = [&](std::string_view line) { return lines.size() == 1 && lines.front() == line; };
    const bool isCopy = PlainValue::holdsTextsOnly(body) && body.contains("data");
    const bool isDownload = isCopy && body.contains("filename");
    const bool isBatch = body.is_object() && PlainValue(body.value("files", json())).holdsStringObjects();
    const auto panels = platform.panels.size();
    if (name == "nativeDownload") {
        check(isDownload != only("❌ Invalid download message"), "the wrong downloads are refused");
        const bool decodes = isDownload && PlainValue(body["data"]).text()->base64AfterFirstComma();
        check(panels == (decodes ? 1 : 0), "a panel for a download that cannot be saved, or none for one that can");
    } else if (name == "nativeBatchDownload") {
        check(isBatch != only("❌ Invalid batch download message"), "the wrong batches are refused");
        check(panels == (isBatch ? 1 : 0), "a panel for a batch that was refused, or none for another");
    } else if (name == "nativeCopy") {
        check(only(isCopy ? "📋 Copied to native pasteboard" : "❌ Invalid copy message"),
              "the wrong copies are refused");
        check(!isCopy || !platform.copied.empty(), "nothing was copied");
    } else if (name == "nativePaste") {
        check(lines.empty() && panels == 0, "an empty clipboard was pasted");
    } else if (name == "another") {
        check(only("❌ Unknown message: another") && panels == 0, "an unknown message was handled");
    } else {
        check(lines.size() == 1 && panels == 1, "a picker did not open its panel");
    }
    for (const auto& panel : platform.panels)
        panel.completion(ModalResponse::cancel, std::nullopt);
    check(platform.lines == lines, "a cancelled panel left a line");
    return 0;
}
