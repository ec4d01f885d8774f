// sax_floor [--repeat N] [--entry push|memory|file|mmap] [--net] PATH...
//
// The floor of every XML operation: the least that reading the same documents can cost. Each
// file is read with read() into one buffer that is kept from file to file (so no page is
// mapped and unmapped per document) and fed whole, as one chunk, to a push parser with
// XML_PARSE_NONET, as the tool sets it; the SAX2 handler's only callbacks count elements,
// attributes and text bytes: enough that nothing is skipped, too little to cost anything.
// Of the ways tried this was the fastest; on set L, in processor time per pass:
//
//   push    read() into the reused buffer, a push parser fed one chunk    (the default) 55 ms
//   memory  read() into the reused buffer, xmlSAXUserParseMemory                        59 ms
//   file    xmlSAXUserParseFile, the library reading the file itself                    62 ms
//   mmap    the file mapped, xmlSAXUserParseMemory over the mapping                     64 ms
//
// Keeping one push parser and resetting it between files saved nothing measurable, nor did
// leaving out XML_PARSE_NONET. An earlier floor read each file through istreambuf_iterator
// into a new string: 80 ms, a third of it system time, and slower than the tool's own dump.
// --entry picks another way, so that the choice can be checked again on another machine or
// another version of the library; --net leaves out XML_PARSE_NONET where the entry point takes
// options.
//
// A folder is searched for files whose name ends in "MetaModel.xml"; the files are parsed in
// sorted order. Prints the wall time of the best pass in seconds. Exit 1 when a document is
// not well formed.

#include <fcntl.h>
#include <libxml/parser.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

enum class Entry { Push, Memory, File, Mmap };

struct Counts {
    long elements = 0;
    long attributes = 0;
    long textBytes = 0;
    bool failed = false;
};

void onStartElement(void* data, const xmlChar*, const xmlChar*, const xmlChar*, int,
                    const xmlChar**, int attributes, int, const xmlChar**) {
    auto* counts = static_cast<Counts*>(data);
    ++counts->elements;
    counts->attributes += attributes;
}

void onCharacters(void* data, const xmlChar*, int length) {
    static_cast<Counts*>(data)->textBytes += length;
}

void onError(void* data, const char*, ...) {
    static_cast<Counts*>(data)->failed = true;
}

xmlSAXHandler countingHandler() {
    xmlSAXHandler handler;
    std::memset(&handler, 0, sizeof handler);
    handler.initialized = XML_SAX2_MAGIC;
    handler.startElementNs = onStartElement;
    handler.characters = onCharacters;
    handler.ignorableWhitespace = onCharacters;
    handler.cdataBlock = onCharacters;
    handler.error = onError;
    handler.fatalError = onError;
    return handler;
}

bool isDocument(const fs::path& path) {
    constexpr std::string_view suffix = "MetaModel.xml";
    const std::string name = path.filename().string();
    return name.size() >= suffix.size() &&
           name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0;
}

std::vector<fs::path> collect(const std::vector<std::string>& arguments) {
    std::vector<fs::path> files;
    for (const std::string& argument : arguments) {
        const fs::path path(argument);
        if (fs::is_directory(path)) {
            for (const auto& entry : fs::recursive_directory_iterator(path))
                if (entry.is_regular_file() && isDocument(entry.path()))
                    files.push_back(entry.path());
        } else if (fs::is_regular_file(path)) {
            files.push_back(path);
        } else {
            throw std::runtime_error(argument + ": no such file or folder");
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

class Parser {
public:
    Parser(Entry entry, bool noNet) : entry_(entry), noNet_(noNet), handler_(countingHandler()) {}

    // Reading the file belongs to the floor: the tool has to read it as well.
    void parse(const fs::path& file) {
        Counts counts;
        switch (entry_) {
        case Entry::Memory:
            read(file);
            xmlSAXUserParseMemory(&handler_, &counts, buffer_.data(), int(size_));
            break;
        case Entry::File:
            xmlSAXUserParseFile(&handler_, &counts, file.c_str());
            break;
        case Entry::Push:
            read(file);
            push(file, counts);
            break;
        case Entry::Mmap:
            mapped(file, counts);
            break;
        }
        if (counts.failed || counts.elements == 0)
            throw std::runtime_error(file.string() + ": not well formed");
        elements_ += counts.elements + counts.attributes + counts.textBytes;
    }

    long checksum() const { return elements_; }

private:
    void read(const fs::path& file) {
        const int descriptor = ::open(file.c_str(), O_RDONLY);
        if (descriptor < 0)
            throw std::runtime_error(file.string() + ": cannot open");
        struct stat status {};
        ::fstat(descriptor, &status);
        if (buffer_.size() < size_t(status.st_size) + 1)
            buffer_.resize(size_t(status.st_size) + 1);
        size_ = 0;
        for (;;) {
            const ssize_t got = ::read(descriptor, buffer_.data() + size_, buffer_.size() - size_);
            if (got <= 0)
                break;
            size_ += size_t(got);
            if (size_ == buffer_.size())
                buffer_.resize(buffer_.size() * 2);
        }
        ::close(descriptor);
    }

    void push(const fs::path& file, Counts& counts) {
        xmlParserCtxtPtr context =
            xmlCreatePushParserCtxt(&handler_, &counts, nullptr, 0, file.c_str());
        if (context == nullptr)
            throw std::runtime_error(file.string() + ": no parser context");
        if (noNet_)
            xmlCtxtUseOptions(context, XML_PARSE_NONET);
        xmlParseChunk(context, buffer_.data(), int(size_), 1);
        if (!context->wellFormed)
            counts.failed = true;
        xmlFreeParserCtxt(context);
    }

    void mapped(const fs::path& file, Counts& counts) {
        const int descriptor = ::open(file.c_str(), O_RDONLY);
        if (descriptor < 0)
            throw std::runtime_error(file.string() + ": cannot open");
        struct stat status {};
        ::fstat(descriptor, &status);
        void* map = ::mmap(nullptr, size_t(status.st_size), PROT_READ, MAP_PRIVATE, descriptor, 0);
        ::close(descriptor);
        if (map == MAP_FAILED)
            throw std::runtime_error(file.string() + ": cannot map");
        xmlSAXUserParseMemory(&handler_, &counts, static_cast<const char*>(map),
                              int(status.st_size));
        ::munmap(map, size_t(status.st_size));
    }

    Entry entry_;
    bool noNet_;
    xmlSAXHandler handler_;
    std::vector<char> buffer_;
    size_t size_ = 0;
    long elements_ = 0;
};

int usage() {
    std::cerr << "usage: sax_floor [--repeat N] [--entry push|memory|file|mmap] [--net] PATH...\n";
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    int repeat = 1;
    Entry entry = Entry::Push;
    bool noNet = true;
    std::vector<std::string> paths;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--repeat" && i + 1 < argc) {
            repeat = std::atoi(argv[++i]);
        } else if (argument == "--entry" && i + 1 < argc) {
            const std::string_view name = argv[++i];
            if (name == "memory")
                entry = Entry::Memory;
            else if (name == "file")
                entry = Entry::File;
            else if (name == "push")
                entry = Entry::Push;
            else if (name == "mmap")
                entry = Entry::Mmap;
            else
                return usage();
        } else if (argument == "--net") {
            noNet = false;
        } else if (argument.starts_with("-")) {
            return usage();
        } else {
            paths.emplace_back(argument);
        }
    }
    if (repeat < 1 || paths.empty())
        return usage();
    try {
        xmlInitParser();
        const std::vector<fs::path> files = collect(paths);
        if (files.empty())
            throw std::runtime_error("no MetaModel.xml documents found");
        Parser parser(entry, noNet);
        double best = 0;
        for (int pass = 0; pass < repeat; ++pass) {
            const auto start = std::chrono::steady_clock::now();
            for (const fs::path& file : files)
                parser.parse(file);
            const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
            if (pass == 0 || elapsed.count() < best)
                best = elapsed.count();
        }
        xmlCleanupParser();
        // The sum keeps the counting callbacks from being optimised away.
        if (parser.checksum() < 0)
            std::cerr << parser.checksum();
        std::cout.setf(std::ios::fixed);
        std::cout.precision(6);
        std::cout << best << '\n';
    } catch (const std::exception& failure) {
        std::cerr << "sax_floor: " << failure.what() << '\n';
        return 1;
    }
    return 0;
}
