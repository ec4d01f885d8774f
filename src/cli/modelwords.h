#pragma once

#include "cpplanguage/orlostring.h"
#include "interfaces/elementstatus.h"
#include "interfaces/ipropertytype.h"

namespace Cli {

// The words of the documents for what a model holds as numbers, as the tool prints them.
const char* statusWord(QEL::ElementStatus status);
// "integer", ..., "referenceList"; empty for a kind out of range.
const ORLO::String& typeWord(const QEL::IPropertyType& type);
// "no", "sum", "cct_dist_alpha", "bitor"; the digits of any other value.
std::string mergeWord(int merge);

} // namespace Cli
