#include "services/BatchDownload.h"

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/Localization.h"
#include "services/DataURL.h"
#include "services/FileWriter.h"

namespace quillory {

namespace {

using namespace std::chrono_literals;

constexpr auto longestTurn = 50ms;
// Time for the window to be drawn and used before the next turn.
constexpr auto rest = 1ms;
constexpr std::size_t mostFiles = 100'000;

// Null for a body of another shape. The files are read one by one, when their turn comes.
FileList readFiles(const Value& body)
{
    FileList list = body.at("files");
    return list->size() <= mostFiles && list->holdsStringObjects() ? list : nullptr;
}

// Writes the files of one batch in their order. It holds itself until the last one is written.
class Batch : public std::enable_shared_from_this<Batch> {
public:
    Batch(ServiceContext context, std::filesystem::path folder, FileList files, Reply reply)
        : m_context(std::move(context))
        , m_folder(std::move(folder))
        , m_files(std::move(files))
        , m_reply(std::move(reply))
    {
    }

    // As many as a turn has time for.
    void write()
    {
        const auto end = std::chrono::steady_clock::now() + longestTurn;
        for (; m_next < m_total; ++m_next) {
            if (std::chrono::steady_clock::now() >= end)
                return m_context.platform.mainQueue().asyncAfter(rest, [self = shared_from_this()] { self->write(); });
            writeFile(*m_files->at(m_next));
        }
        finish();
    }

private:
    void writeFile(const Value& file)
    {
        const auto filename = file.at("filename")->text();
        const auto data = file.at("data")->text();
        const auto name = filename ? filename->utf8() : std::string();
        const auto bytes = filename && data ? decodeDataURLPayload(*data) : nullptr;
        if (!bytes)
            return fail(name, localized("There is no content that can be read"));
        if (const auto error = writeFileInFolder(m_folder, name, bytes->span())) {
            m_context.platform.log().print("❌ Error saving " + name + ": " + *error);
            return fail(name, localized(error->c_str()));
        }
    }

    void fail(const std::string& name, const std::string& reason)
    {
        m_failures.push_back(name.empty() ? reason : name + ": " + reason);
    }

    void finish() const
    {
        const auto saved = std::to_string(m_total - m_failures.size()) + "/" + std::to_string(m_total);
        m_context.platform.log().print("✅ Saved " + saved + " files to: " + m_folder.string());
        if (m_failures.empty())
            return m_reply.savedInto(m_folder);
        m_context.failures->notAllSaved(saved, m_failures);
        m_reply.failed(m_folder.filename(), m_failures.front());
    }

    ServiceContext m_context;
    std::filesystem::path m_folder;
    FileList m_files;
    std::size_t m_total = m_files->size();
    Reply m_reply;
    std::vector<std::string> m_failures;
    std::size_t m_next = 0;
};

}

void handleNativeBatchDownload(const ServiceContext& context, const ScriptMessage& message)
{
    auto& log = context.platform.log();
    const Reply reply(context.loadedPage, *message.body);
    auto files = readFiles(*message.body);
    if (!files) {
        log.print("❌ Invalid batch download message");
        return reply.failed({}, "Invalid batch download message");
    }
    log.print("📥 Batch download requested: " + std::to_string(files->size()) + " files");
    context.platform.mainQueue().async([=] { chooseFolderAndSaveFiles(context, files, reply); });
}

void chooseFolderAndSaveFiles(const ServiceContext& context, const FileList& files, const Reply& reply)
{
    const auto panel = context.platform.makeOpenPanel();
    panel->setCanChooseFiles(false);
    panel->setCanChooseDirectories(true);
    panel->setAllowsMultipleSelection(false);
    panel->setCanCreateDirectories(true);
    panel->setMessage(localized("Choose a folder to save {} files", std::to_string(files->size())));
    panel->setPrompt(localized("Save Here"));
    panel->beginWithCompletionHandler([=](ModalResponse response, const auto& url) {
        if (response != ModalResponse::ok || !url)
            return reply.cancelled();
        std::make_shared<Batch>(context, *url, files, reply)->write();
    });
}

}
