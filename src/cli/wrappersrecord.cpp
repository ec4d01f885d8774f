#include "cli/wrappersrecord.h"

#include "metamodel/operations/operationreading.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/orlofile.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

namespace Cli {

namespace {

namespace fs = std::filesystem;

const std::string_view recordHeading = "metamodel wrappers record 1";

Digest digestOf(XXH128_hash_t hash) {
    return {hash.high64, hash.low64};
}

Digest digestOf(std::string_view bytes) {
    return digestOf(XXH3_128bits(bytes.data(), bytes.size()));
}

// The whole of an open file into `content`; false when it does not come whole.
bool readOpen(int descriptor, size_t size, std::string& content) {
    content.resize(size);
    for (size_t done = 0; done < size;) {
        const ssize_t got = ::read(descriptor, content.data() + done, size - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        done += size_t(got);
    }
    return true;
}

bool readWhole(const std::string& path, std::string& content) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    struct stat status {};
    const bool read = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
                      readOpen(descriptor, size_t(status.st_size), content);
    ::close(descriptor);
    return read;
}

// The walk of an output tree by descriptor: a link is met as a link, never followed, and no
// path is looked up from the top twice. `file` gets each regular file open, with its size;
// either callback stops the walk by answering false, as does anything that is neither a
// regular file nor a folder, or a folder that cannot be read.
struct TreeWalk {
    std::function<bool(const std::string&)> folder;
    std::function<bool(const std::string&, int, uint64_t)> file;

    bool walk(int descriptor, const std::string& prefix) {
        DIR* listing = ::fdopendir(descriptor);
        if (!listing) {
            ::close(descriptor);
            return false;
        }
        const int at = ::dirfd(listing);
        bool going = true;
        errno = 0;
        while (going) {
            const dirent* entry = ::readdir(listing);
            if (!entry) {
                going = errno == 0;
                break;
            }
            const std::string_view name = entry->d_name;
            if (name == "." || name == "..")
                continue;
            going = visit(at, entry->d_name, prefix + entry->d_name);
            errno = 0;
        }
        ::closedir(listing);
        return going;
    }

    bool visit(int at, const char* name, const std::string& path) {
        const int descriptor = ::openat(at, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
        struct stat status {};
        if (descriptor < 0 || ::fstat(descriptor, &status) != 0) {
            if (descriptor >= 0)
                ::close(descriptor);
            return false;
        }
        if (S_ISDIR(status.st_mode)) {
            if (folder(path))
                return walk(descriptor, path + '/');
            ::close(descriptor);
            return false;
        }
        const bool going = S_ISREG(status.st_mode) && file(path, descriptor, status.st_size);
        ::close(descriptor);
        return going;
    }

    bool walkTop(const std::string& top) {
        const int descriptor = ::open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        return descriptor >= 0 && walk(descriptor, "");
    }
};

// Record lines are split at blanks and ends: a path holding either cannot be written.
bool writable(const std::string& path) {
    return path.find_first_of("\n\r") == std::string::npos;
}

bool parseDigest(std::string_view text, Digest& digest) {
    if (text.size() != 32)
        return false;
    const auto half = [](std::string_view part, uint64_t& value) {
        value = 0;
        for (const char c : part) {
            const int nibble = c >= '0' && c <= '9'   ? c - '0'
                               : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                                      : -1;
            if (nibble < 0)
                return false;
            value = value << 4 | uint64_t(nibble);
        }
        return true;
    };
    return half(text.substr(0, 16), digest.high) && half(text.substr(16), digest.low);
}

// The next line of `text` from `at`, without its end; false at the end or on a last line
// without one.
bool nextLine(std::string_view text, size_t& at, std::string_view& line) {
    const size_t end = text.find('\n', at);
    if (end == std::string_view::npos)
        return false;
    line = text.substr(at, end - at);
    at = end + 1;
    return true;
}

bool startsWith(std::string_view line, std::string_view word, std::string_view& rest) {
    if (line.substr(0, word.size()) != word)
        return false;
    rest = line.substr(word.size());
    return true;
}

} // namespace

std::string Digest::hex() const {
    char text[33];
    std::snprintf(text, sizeof text, "%016" PRIx64 "%016" PRIx64, high, low);
    return text;
}

InputDigest::InputDigest() : state_(XXH3_createState()) {
    XXH3_128bits_reset(static_cast<XXH3_state_t*>(state_));
}

InputDigest::~InputDigest() {
    XXH3_freeState(static_cast<XXH3_state_t*>(state_));
}

void InputDigest::add(std::string_view piece) {
    auto* state = static_cast<XXH3_state_t*>(state_);
    const uint64_t length = piece.size();
    XXH3_128bits_update(state, &length, sizeof length);
    XXH3_128bits_update(state, piece.data(), piece.size());
}

bool InputDigest::addFile(const std::string& path) {
    if (!readWhole(path, buffer_))
        return false;
    add(buffer_);
    return true;
}

Digest InputDigest::result() const {
    return digestOf(XXH3_128bits_digest(static_cast<const XXH3_state_t*>(state_)));
}

namespace {

// The build id the linker stamped into a loaded object, which changes with every byte of its
// code; empty when it was linked without one.
std::string buildId(const dl_phdr_info& object) {
    for (int index = 0; index < object.dlpi_phnum; ++index) {
        const ElfW(Phdr)& segment = object.dlpi_phdr[index];
        if (segment.p_type != PT_NOTE)
            continue;
        const char* at = reinterpret_cast<const char*>(object.dlpi_addr + segment.p_vaddr);
        const char* const end = at + segment.p_memsz;
        const auto aligned = [](size_t size) { return (size + 3) & ~size_t(3); };
        while (at + sizeof(ElfW(Nhdr)) <= end) {
            const auto* note = reinterpret_cast<const ElfW(Nhdr)*>(at);
            const char* name = at + sizeof(ElfW(Nhdr));
            const char* description = name + aligned(note->n_namesz);
            if (description + note->n_descsz > end)
                break;
            if (note->n_type == NT_GNU_BUILD_ID && note->n_namesz == 4 &&
                std::memcmp(name, "GNU", 4) == 0)
                return std::string(description, note->n_descsz);
            at = description + aligned(note->n_descsz);
        }
    }
    return {};
}

struct LoadedIds {
    const void* library = nullptr;
    std::string program;
    std::string libraryId;
};

int collectIds(dl_phdr_info* object, size_t, void* data) {
    auto& ids = *static_cast<LoadedIds*>(data);
    // The program comes first, by an empty name.
    if (ids.program.empty() && object->dlpi_name && !*object->dlpi_name)
        ids.program = buildId(*object);
    if (reinterpret_cast<const void*>(object->dlpi_addr) == ids.library)
        ids.libraryId = buildId(*object);
    return 0;
}

} // namespace

std::optional<Digest> toolIdentity() {
    static const std::optional<Digest> identity = []() -> std::optional<Digest> {
        InputDigest digest;
        Dl_info library{};
        if (!dladdr(reinterpret_cast<void*>(&MetaModel::CXMLMetaModelReader::ResolvePlaceholders),
                    &library) ||
            !library.dli_fname)
            return std::nullopt;
        LoadedIds ids;
        ids.library = library.dli_fbase;
        dl_iterate_phdr(collectIds, &ids);
        if (!ids.program.empty() && !ids.libraryId.empty()) {
            digest.add(ids.program);
            digest.add(ids.libraryId);
            return digest.result();
        }
        // Without build ids, the files themselves.
        if (!digest.addFile(library.dli_fname) || !digest.addFile("/proc/self/exe"))
            return std::nullopt;
        return digest.result();
    }();
    return identity;
}

std::optional<Digest> wrappersInputs(const std::vector<std::string>& paths, const std::string& root,
                                     const std::string& output) {
    const std::optional<Digest> tool = toolIdentity();
    if (!tool)
        return std::nullopt;
    InputDigest digest;
    digest.add(recordHeading);
    digest.add(tool->hex());
    for (const char* placeholder :
         {"<app dir>", "<user dir>", "<all users dir>", "<plugins path>"}) {
        ORLO::String folder(placeholder);
        MetaModel::CXMLMetaModelReader::ResolvePlaceholders(folder);
        digest.add(folder);
    }
    std::error_code failed;
    const fs::path working = fs::current_path(failed);
    if (failed)
        return std::nullopt;
    digest.add(working.string());
    digest.add(root);
    digest.add(output);
    // The documents as the reader finds them.
    const MetaModel::COperationReader reader(paths);
    for (const ORLO::String& rootPath : reader.GetRootPaths()) {
        digest.add(rootPath);
        ORLO::String resolved(rootPath);
        MetaModel::CXMLMetaModelReader::ResolvePlaceholders(resolved);
        std::list<ORLO::String> documents;
        MetaModel::CXMLMetaModelReader::CollectMetaModels(ORLO::File(resolved).getAbsolutePath(),
                                                          documents);
        for (const ORLO::String& document : documents) {
            digest.add(document);
            if (!digest.addFile(document))
                return std::nullopt;
        }
        digest.add("end of root");
    }
    for (const ORLO::String& file : reader.GetFiles()) {
        digest.add(file);
        ORLO::String resolved(file);
        MetaModel::CXMLMetaModelReader::ResolvePlaceholders(resolved);
        if (!digest.addFile(resolved))
            return std::nullopt;
    }
    return digest.result();
}

std::string recordPath(const std::string& resolvedOutput) {
    // Only an absolute cache folder counts: a relative one would move with the working folder.
    const char* cache = std::getenv("XDG_CACHE_HOME");
    fs::path folder;
    if (cache && *cache == '/') {
        folder = cache;
    } else {
        const char* home = std::getenv("HOME");
        if (!home || *home != '/')
            return {};
        folder = fs::path(home) / ".cache";
    }
    return (folder / "metamodel" / "wrappers" / digestOf(resolvedOutput).hex()).string();
}

std::optional<WrappersRecord> readRecord(const std::string& path) {
    std::string text;
    if (path.empty() || !readWhole(path, text))
        return std::nullopt;
    // The last line seals everything before it: a record cut short or altered is no record.
    const size_t sealAt = text.rfind("end ", text.size() < 4 ? 0 : text.size() - 1);
    Digest seal;
    if (sealAt == std::string::npos || (sealAt != 0 && text[sealAt - 1] != '\n') ||
        text.back() != '\n' ||
        !parseDigest(std::string_view(text).substr(sealAt + 4, text.size() - sealAt - 5), seal) ||
        !(seal == digestOf(std::string_view(text).substr(0, sealAt))))
        return std::nullopt;
    const std::string_view body = std::string_view(text).substr(0, sealAt);
    WrappersRecord record;
    size_t at = 0;
    std::string_view line, rest;
    if (!nextLine(body, at, line) || line != recordHeading || !nextLine(body, at, line) ||
        !startsWith(line, "output ", rest))
        return std::nullopt;
    record.output = rest;
    if (!nextLine(body, at, line) || !startsWith(line, "inputs ", rest) ||
        !parseDigest(rest, record.inputs))
        return std::nullopt;
    while (nextLine(body, at, line)) {
        if (startsWith(line, "folder ", rest)) {
            record.tree.folders.emplace(rest);
            continue;
        }
        // file SIZE DIGEST PATH
        if (!startsWith(line, "file ", rest))
            return std::nullopt;
        OutputFile file;
        const size_t blank = rest.find(' ');
        if (blank == rest.npos || rest.size() < blank + 34 || rest[blank + 33] != ' ' ||
            !parseDigest(rest.substr(blank + 1, 32), file.content))
            return std::nullopt;
        char* end = nullptr;
        const std::string size(rest.substr(0, blank));
        file.size = std::strtoull(size.c_str(), &end, 10);
        if (size.empty() || *end != '\0')
            return std::nullopt;
        record.tree.files.emplace(rest.substr(blank + 34), file);
    }
    if (at != body.size())
        return std::nullopt;
    return record;
}

bool writeRecord(const std::string& path, const WrappersRecord& record) {
    if (path.empty() || !writable(record.output))
        return false;
    std::string text(recordHeading);
    text += "\noutput " + record.output + "\ninputs " + record.inputs.hex() + '\n';
    for (const std::string& folder : record.tree.folders) {
        if (!writable(folder))
            return false;
        text += "folder " + folder + '\n';
    }
    for (const auto& [name, file] : record.tree.files) {
        if (!writable(name))
            return false;
        text += "file " + std::to_string(file.size) + ' ' + file.content.hex() + ' ' + name + '\n';
    }
    text += "end " + digestOf(text).hex() + '\n';

    std::error_code failed;
    fs::create_directories(fs::path(path).parent_path(), failed);
    std::string temporary = path + ".XXXXXX";
    const int descriptor = ::mkstemp(temporary.data());
    if (descriptor < 0)
        return false;
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t wrote = ::write(descriptor, text.data() + done, text.size() - done);
        if (wrote < 0 && errno == EINTR)
            continue;
        if (wrote <= 0)
            break;
        done += size_t(wrote);
    }
    const bool written = ::close(descriptor) == 0 && done == text.size() &&
                         ::rename(temporary.c_str(), path.c_str()) == 0;
    if (!written)
        ::unlink(temporary.c_str());
    return written;
}

std::optional<OutputTree> hashTree(const std::string& top) {
    OutputTree tree;
    std::string buffer;
    TreeWalk walk{
        [&tree](const std::string& path) {
            tree.folders.insert(path);
            return true;
        },
        [&tree, &buffer](const std::string& path, int descriptor, uint64_t size) {
            if (!readOpen(descriptor, size, buffer))
                return false;
            tree.files.emplace(path, OutputFile{size, digestOf(buffer)});
            return true;
        },
    };
    if (!walk.walkTop(top))
        return std::nullopt;
    return tree;
}

bool treeMatches(const std::string& top, const OutputTree& recorded) {
    size_t files = 0, folders = 0;
    std::string buffer;
    TreeWalk walk{
        [&](const std::string& path) {
            ++folders;
            return recorded.folders.count(path) != 0;
        },
        [&](const std::string& path, int descriptor, uint64_t size) {
            const auto found = recorded.files.find(path);
            ++files;
            return found != recorded.files.end() && found->second.size == size &&
                   readOpen(descriptor, size, buffer) && found->second.content == digestOf(buffer);
        },
    };
    return walk.walkTop(top) && files == recorded.files.size() &&
           folders == recorded.folders.size();
}

} // namespace Cli
