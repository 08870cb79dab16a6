#include "services/FailureAlert.h"

#include <algorithm>
#include <utility>

#include "platform/Localization.h"
#include "support/UTF8.h"

namespace quillory {

namespace {

constexpr std::size_t longestLine = 200; // bytes
constexpr std::size_t mostLines = 10;

// One line of text, whatever bytes a name has.
std::string asLine(std::string text)
{
    const bool isText = isValidUTF8(text);
    std::ranges::replace_if(
        text, [=](unsigned char byte) { return byte < ' ' || byte == 0x7F || (!isText && byte > 0x7F); }, '?');
    if (text.size() <= longestLine)
        return text;
    auto end = longestLine;
    while ((static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    return text.substr(0, end) + "…";
}

std::string asList(const std::vector<std::string>& lines)
{
    std::string list;
    for (std::size_t i = 0; i < lines.size() && i < mostLines; ++i)
        list += (list.empty() ? "" : "\n") + asLine(lines[i]);
    return lines.size() > mostLines ? list + "\n…" : list;
}

}

void FailureAlert::notSaved(const std::string& name, const std::string& reason)
{
    add({localized("“{}” was not saved", asLine(name)), localized(reason.c_str())});
}

void FailureAlert::notOpened(const std::string& name, const std::string& reason)
{
    add({localized("“{}” was not opened", asLine(name)), localized(reason.c_str())});
}

void FailureAlert::notAllSaved(const std::string& saved, const std::vector<std::string>& failures)
{
    add({localized("Files saved: {}", saved), asList(failures)});
}

void FailureAlert::add(Failure failure)
{
    // One more than fit says that there are more.
    if (m_waiting.size() <= mostLines)
        m_waiting.push_back(std::move(failure));
    if (!std::exchange(m_isOpen, true))
        m_platform.mainQueue().async([self = shared_from_this()] { self->show(); });
}

void FailureAlert::show()
{
    const auto failures = std::exchange(m_waiting, {});
    m_isOpen = !failures.empty();
    if (!m_isOpen)
        return;
    const auto alert = m_platform.makeAlert();
    alert->setAlertStyle(AlertStyle::warning);
    if (failures.size() == 1) {
        alert->setMessageText(failures.front().message);
        alert->setInformativeText(failures.front().reason);
    } else {
        std::vector<std::string> lines;
        for (const auto& [message, reason] : failures)
            lines.push_back(message + ": " + reason);
        alert->setMessageText(localized("Not every file was saved or opened"));
        alert->setInformativeText(asList(lines));
    }
    alert->addButtonWithTitle(localized("OK"));
    alert->show([self = shared_from_this()](int) { self->show(); });
}

}
