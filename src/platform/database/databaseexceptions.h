#pragma once

#include "cpplanguage/exceptions.h"

namespace TABLINK {

// A connection that cannot be opened or set up.
CPPLANGUAGE_DECLARE_EXCEPTION(CDatabaseException, CppLanguage::CRuntimeException);

} // namespace TABLINK

namespace RowVault {

// Any failure of a bulk inserter: a missing table, a row that does not fit, a refused block.
CPPLANGUAGE_DECLARE_EXCEPTION(CRowVaultException, CppLanguage::CRuntimeException);

} // namespace RowVault
