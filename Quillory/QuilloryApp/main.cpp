#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "QuilloryApp/CommandLine.h"
#include "QuilloryApp/QuilloryApp.h"
#include "platform/gtk/GtkPlatform.h"
#include "platform/posix/InstalledBundle.h"
#include "platform/posix/Translations.h"

namespace {

int print(const quillory::CommandLineAnswer& answer)
{
    auto* stream = answer.status == EXIT_SUCCESS ? stdout : stderr;
    const bool printed = std::fputs(answer.text.c_str(), stream) >= 0 && std::fflush(stream) == 0;
    return printed ? answer.status : EXIT_FAILURE;
}

// The next file to be opened would take the place of a stream that is missing, and get what is written to it.
void openMissingStandardStreams()
{
    int descriptor = STDIN_FILENO;
    while (descriptor >= STDIN_FILENO && descriptor <= STDERR_FILENO)
        descriptor = open("/dev/null", O_RDWR);
    close(descriptor);
}

}

int main(int argumentCount, char** argumentValues)
{
    openMissingStandardStreams();
    const auto bundle = quillory::posix::InstalledBundle::ofThisProcess();
    quillory::posix::useTranslations(bundle);

    const std::span<const char* const> arguments(argumentValues, static_cast<std::size_t>(argumentCount));
    if (const auto answer = quillory::answerCommandLine(arguments.empty() ? arguments : arguments.subspan(1), bundle))
        return print(*answer);

    quillory::gtk::GtkPlatform platform;
    return quillory::QuilloryApp::main(platform);
}
