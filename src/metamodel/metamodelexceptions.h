#pragma once

#include "cpplanguage/exceptions.h"

namespace MetaModel {

// Readers of the repository and of fragments.
CPPLANGUAGE_DECLARE_EXCEPTION(CMetaModelReaderException, CppLanguage::CRuntimeException);
// The XML handler and the XML reader.
CPPLANGUAGE_DECLARE_EXCEPTION(CXMLMetaModelException, CppLanguage::CRuntimeException);
// Sinks that write: repository, XML, dump.
CPPLANGUAGE_DECLARE_EXCEPTION(CMetaModelEventsException, CppLanguage::CRuntimeException);
// The end of a validated stream.
CPPLANGUAGE_DECLARE_EXCEPTION(CSemanticMetaModelException, CppLanguage::CRuntimeException);
CPPLANGUAGE_DECLARE_EXCEPTION(FunctionalMetaModelException, CppLanguage::CRuntimeException);
CPPLANGUAGE_DECLARE_EXCEPTION(WrapperGeneratorException, CppLanguage::CRuntimeException);

} // namespace MetaModel
