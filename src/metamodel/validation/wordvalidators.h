#pragma once

#include "platform/orlostring.h"

namespace MetaModel {

// Whether a word is one of the ten property type words ("integer" ... "referenceList").
bool isPropertyTypeWord(const ORLO::String& word);
// Whether a word is one of the four merge words of documents.
bool isMergeWord(const ORLO::String& word);

} // namespace MetaModel
