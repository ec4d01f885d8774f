#include "support/tempfolder.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <stdlib.h>

namespace TestSupport {

TempFolder::TempFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "metamodel-test-XXXXXX");
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("cannot make a temporary folder");
    path_ = pattern;
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TempFolder::write(const std::string& relative, const std::string& content) const {
    const std::filesystem::path target = path_ / relative;
    std::filesystem::create_directories(target.parent_path());
    std::ofstream out(target, std::ios::binary);
    out << content;
    return target.string();
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

} // namespace TestSupport
