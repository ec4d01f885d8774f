#include "platform/xmlsaxparser.h"

namespace ORLO {

XmlSAXParser::XmlSAXParser(IXmlHandler* handler, const ParserType&, const bool&)
    : handler_(handler) {}

bool XmlSAXParser::parseFile(const String&, const bool&, const bool&) {
    return false;
}

bool XmlSAXParser::parseString(const String&, const bool&, const bool&) {
    return false;
}

} // namespace ORLO
