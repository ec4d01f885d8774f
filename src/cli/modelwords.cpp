#include "cli/modelwords.h"

#include "metamodel/model/propertyclassifiers.h"
#include "metamodel/model/propertytype.h"

#include <iterator>
#include <string>

namespace Cli {

const char* statusWord(QEL::ElementStatus status) {
    static const char* const words[] = {"active", "deprecated", "obsolete", "inactive"};
    return unsigned(status) < 4 ? words[status] : "unknown";
}

const ORLO::String& typeWord(const QEL::IPropertyType& type) {
    static const ORLO::String* const words[] = {&QEL::IntegerWord,      &QEL::StringWord,
                                                &QEL::DateTimeWord,     &QEL::BookmarkWord,
                                                &QEL::ReferenceWord,    &QEL::IntegerListWord,
                                                &QEL::StringListWord,   &QEL::DateTimeListWord,
                                                &QEL::BookmarkListWord, &QEL::ReferenceListWord};
    const int kind = type.GetKind();
    return unsigned(kind) < std::size(words) ? *words[kind] : ORLO::String::nil();
}

std::string mergeWord(int merge) {
    const QEL::CXmlPropertyMergeClassifier words;
    switch (merge) {
    case 0:
        return words.GetNoWord();
    case 1:
        return words.GetSumWord();
    case 2:
        return words.GetDistinctWord();
    case 3:
        return words.GetBitOrWord();
    }
    return std::to_string(merge);
}

} // namespace Cli
