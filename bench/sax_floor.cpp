// sax_floor [--repeat N] PATH...
//
// The floor of every XML operation: the same documents through libxml2's SAX2 parser with no
// callbacks at all, so nothing is built and nothing is copied. A folder is searched for files
// whose name ends in "MetaModel.xml"; the files are parsed in sorted order. Prints the wall
// time of the best pass in seconds. Exit 1 when a document is not well formed.

#include <libxml/parser.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

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

// Reading the file belongs to the floor: the library has to read it as well.
void parse(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in)
        throw std::runtime_error(file.string() + ": cannot open");
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());

    xmlSAXHandler handler;
    std::memset(&handler, 0, sizeof handler);
    handler.initialized = XML_SAX2_MAGIC;
    xmlParserCtxtPtr context = xmlCreatePushParserCtxt(&handler, nullptr, nullptr, 0, file.c_str());
    if (context == nullptr)
        throw std::runtime_error(file.string() + ": no parser context");
    xmlCtxtUseOptions(context, XML_PARSE_NONET);
    xmlParseChunk(context, text.data(), int(text.size()), 1);
    const bool wellFormed = context->wellFormed != 0;
    xmlFreeParserCtxt(context);
    if (!wellFormed)
        throw std::runtime_error(file.string() + ": not well formed");
}

} // namespace

int main(int argc, char** argv) {
    int repeat = 1;
    std::vector<std::string> paths;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--repeat" && i + 1 < argc) {
            repeat = std::atoi(argv[++i]);
        } else if (argument.starts_with("-")) {
            repeat = 0;
            break;
        } else {
            paths.emplace_back(argument);
        }
    }
    if (repeat < 1 || paths.empty()) {
        std::cerr << "usage: sax_floor [--repeat N] PATH...\n";
        return 2;
    }
    try {
        xmlInitParser();
        const std::vector<fs::path> files = collect(paths);
        if (files.empty())
            throw std::runtime_error("no MetaModel.xml documents found");
        double best = 0;
        for (int pass = 0; pass < repeat; ++pass) {
            const auto start = std::chrono::steady_clock::now();
            for (const fs::path& file : files)
                parse(file);
            const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
            if (pass == 0 || elapsed.count() < best)
                best = elapsed.count();
        }
        xmlCleanupParser();
        std::cout.setf(std::ios::fixed);
        std::cout.precision(6);
        std::cout << best << '\n';
    } catch (const std::exception& failure) {
        std::cerr << "sax_floor: " << failure.what() << '\n';
        return 1;
    }
    return 0;
}
