#include "cli/allocator.h"
#include "cli/commandline.h"
#include "cli/diagnostics.h"
#include "cli/documentpaths.h"
#include "cli/interruption.h"
#include "cli/outputfile.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/appdatamanager.h"
#include "platform/messages.h"

#include <sqlite3.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <new>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* version = "0.1.0";
constexpr int exitUsage = 2;

// The message on one line, then the usage of the command it concerns.
int usageFailure(const Cli::UsageError& problem) {
    std::fprintf(stderr, "metamodel: %s\n%s\n", problem.what(),
                 Cli::usageLine(problem.command()).c_str());
    return exitUsage;
}

// What the tool printed itself is checked as a whole: a lost line is a failed run. The stream
// keeps no reason for a write that failed before this flush.
int checkedStandardOutput(int status) {
    if (std::fflush(stdout) != 0)
        return Cli::reportWriteFailure("standard output", std::strerror(errno));
    if (std::ferror(stdout))
        return Cli::reportWriteFailure("standard output", "an earlier write failed");
    return status;
}

// A standard descriptor that the caller closed (`>&-`) would go to the next file the tool
// opens: a message meant for standard error would land in a database, an output in the scratch
// file that is to be copied to it. Each is held by a file that refuses writes instead, so that
// what goes to a closed one fails as it would have.
void holdClosedStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor)
        if (fcntl(descriptor, F_GETFD) == -1 && errno == EBADF)
            // The lowest free number, which this one is.
            open("/dev/null", O_RDONLY);
}

} // namespace

int main(int argc, char** argv) {
    holdClosedStandardDescriptors();
    // SQLite counts the memory it takes, under a lock of its own on every allocation, for a
    // heap limit the tool never sets. The count is a setting of the whole process, made before
    // the first connection, and so the program's to switch off rather than the library's.
    sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
    const std::vector<std::string> words(argv + 1, argv + argc);
    Cli::CommandLine line;
    try {
        line = Cli::parseCommandLine(words);
    } catch (const Cli::UsageError& problem) {
        return usageFailure(problem);
    }
    if (line.global.version) {
        std::printf("metamodel %s\n", version);
        return checkedStandardOutput(0);
    }
    if (line.global.help || line.arguments.help) {
        std::fputs(Cli::helpText(line.command).c_str(), stdout);
        return checkedStandardOutput(0);
    }
    AppDataManager::SetAppDataOverrides(line.global.folders);
    MetaModel::CXMLMetaModelReader::SetDefaultJobs(line.global.jobs);
    Cli::installDiagnostics(line.global.format);
    Cli::stopRunWhenMemoryRunsOut();
    if (!Cli::folderOptionsExist(line.global.folders))
        return 1;
    int status = 1;
    // Every command says that it was interrupted, and none leaves a server at work on its own.
    const Cli::InterruptionGuard interruptions(false);
    try {
        status = Cli::findCommand(line.command)->run(line.global, line.arguments);
    } catch (const Cli::UsageError& problem) {
        // Some wrong calls show only once a command looks at its options together.
        return usageFailure(problem);
    } catch (const std::bad_alloc&) {
        // What the run held is given back by now, which leaves room for the message.
        CppLanguage::report(ORLO_HERE, "MM_OUT_OF_MEMORY", {});
        return 1;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "metamodel: error: %s\n", failure.what());
        return 1;
    }
    return checkedStandardOutput(status);
}
