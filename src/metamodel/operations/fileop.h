#pragma once

#include "cpplanguage/orlostring.h"

namespace MetaModel {

// Operations on files and folder trees for writers that build their output aside and bring it
// into place at the end. Paths may use either separator. Nothing here throws: a failure is
// reported and answered with a non-zero value. Not for use from two threads at once.
class FileOp {
public:
    enum fcStatus {
        fcSame = 0,
        fcDifferent = 1,
        fcFile1Missing = 2,
        fcFile2Missing = 3,
        fcError = 4
    };

    // When set, the folder operations tell their progress on the standard output.
    static bool verboseMode;

    static fcStatus compareFiles(const ORLO::String& file1, const ORLO::String& file2);
    // A source is a path, or a folder followed by "*.*" or "*", which stands for every entry
    // of that folder. Deleting what a pattern does not match succeeds; moving or copying it
    // fails. Folders go with all they hold.
    static int deleteFiles(const ORLO::String& path);
    // Into the destination folder, or, for a single path, to the destination path. A folder
    // that meets a folder of its name merges into it; a file replaces a file.
    static int moveFiles(const ORLO::String& source, const ORLO::String& destination);
    static int copyFiles(const ORLO::String& source, const ORLO::String& destination);
    // Leaves in `target` what `source` holds; identical files keep their dates. `source` is
    // emptied on the way.
    static int mergeDirectories(const ORLO::String& target, const ORLO::String& source);
    // With the missing folders above it; a folder that exists at the first try is success.
    static int createDirectory(const ORLO::String& path);

private:
    static int performOp(unsigned int code, const char* from, const char* to);
    static int compareDirectories(const ORLO::String& target, const ORLO::String& source);
};

} // namespace MetaModel
