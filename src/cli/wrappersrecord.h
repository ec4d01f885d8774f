#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Cli {

// The record of the last successful `wrappers` run into one output folder, kept outside it:
// what decided the output, and what the output held afterwards. A later run whose inputs give
// the same digest, over a tree that still holds exactly those files, has nothing to do.
struct Digest {
    uint64_t high = 0;
    uint64_t low = 0;
    bool operator==(const Digest&) const = default;
    std::string hex() const;
};

struct OutputFile {
    uint64_t size = 0;
    Digest content;
};

struct OutputTree {
    std::unordered_map<std::string, OutputFile> files;
    std::set<std::string> folders;
};

struct WrappersRecord {
    std::string output;
    Digest inputs;
    OutputTree tree;
};

// Feeds everything that decides a run's output into one digest. Every piece carries its
// length, so that no two different sequences of pieces give the same stream.
class InputDigest {
public:
    InputDigest();
    ~InputDigest();
    InputDigest(const InputDigest&) = delete;
    InputDigest& operator=(const InputDigest&) = delete;

    void add(std::string_view piece);
    // The file's bytes; false when it cannot be read whole.
    bool addFile(const std::string& path);
    Digest result() const;

private:
    void* state_;
    std::string buffer_;
};

// The running tool and its library, so that a new build never trusts an old record; empty
// when either cannot be read.
std::optional<Digest> toolIdentity();

// The digest of what decides the output of a run over documents: the tool, the folders the
// placeholders stand for, the working folder (documents named by relative paths keep their
// folders relative), the resolved root and output, and every document of the reading in
// order, by the path it is named and read by, with its bytes. Empty when a document cannot
// be read.
std::optional<Digest> wrappersInputs(const std::vector<std::string>& paths, const std::string& root,
                                     const std::string& output);

// The file that holds the record of the output folder: one per resolved folder, under
// $XDG_CACHE_HOME/metamodel/wrappers (or ~/.cache/...). Empty when there is no such place.
std::string recordPath(const std::string& resolvedOutput);

// Nothing when the file is missing, cannot be read, or is not a whole record.
std::optional<WrappersRecord> readRecord(const std::string& path);
// Writes to a file of its own beside the record, then renames it over: a reader sees the old
// record or the new one, never a part. False when it cannot (a path it cannot hold, a folder
// it cannot write); the record is a convenience, so that is no failure of the run.
bool writeRecord(const std::string& path, const WrappersRecord& record);

// Every file of the tree with its size and digest, and every folder. Nothing when the tree
// holds anything but plain files and folders or cannot be read whole: such a tree is never
// vouched for. A top that does not exist gives nothing as well.
std::optional<OutputTree> hashTree(const std::string& top);
// Whether the tree holds exactly the record's files and folders: reads each file once and
// stops at the first difference.
bool treeMatches(const std::string& top, const OutputTree& recorded);

} // namespace Cli
