#include "metamodel/validation/wordvalidators.h"

#include <string_view>

namespace MetaModel {

bool isPropertyTypeWord(const ORLO::String& word) {
    static constexpr std::string_view words[] = {
        "integer",     "string",     "dateTime",     "bookmark",     "reference",
        "integerList", "stringList", "dateTimeList", "bookmarkList", "referenceList"};
    for (std::string_view known : words)
        if (word == known)
            return true;
    return false;
}

bool isMergeWord(const ORLO::String& word) {
    static constexpr std::string_view words[] = {"no", "sum", "cct_dist_alpha", "bitor"};
    for (std::string_view known : words)
        if (word == known)
            return true;
    return false;
}

} // namespace MetaModel
