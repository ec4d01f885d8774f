#include "support/generatedset.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace TestSupport {

namespace {

const char* const propertyTypes[] = {"integer", "string", "dateTime", "reference", "stringList"};
const char* const merges[] = {"no", "sum", "bitor", "cct_dist_alpha"};

void writeProperties(std::ofstream& out, int firstRid, int count, int document) {
    for (int index = 0; index < count; ++index) {
        out << "\t\t<property name=\"p" << index << "\" rid=\"" << firstRid + index << "\" type=\""
            << propertyTypes[index % 5] << "\" merge=\"" << merges[index % 4]
            << "\">\n\t\t\t<description>Property " << index << " of document " << document
            << "</description>\n\t\t\t<attribute name=\"INF_TYPE\" intValue=\"" << document
            << "\"/>\n\t\t\t<attribute name=\"LABEL\" stringValue=\"label " << index
            << "\"/>\n\t\t</property>\n";
    }
}

} // namespace

std::string writeGeneratedSet(const std::string& folder, const std::string& prefix, int documents,
                              int properties) {
    if (properties > 400)
        throw std::invalid_argument("no more than 400 properties to an element");
    for (int document = 0; document < documents; ++document) {
        char part[32];
        std::snprintf(part, sizeof part, "part%04d", document);
        const std::filesystem::path path = std::filesystem::path(folder) / part / "MetaModel.xml";
        std::filesystem::create_directories(path.parent_path());
        std::ofstream out(path, std::ios::binary);
        const std::string category = prefix + "_C" + std::to_string(document);
        const std::string type = prefix + "_T" + std::to_string(document);
        out << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<metaModel file_no=\"" << 100 + document
            << "\">\n";
        if (document == 0)
            out << "\t<category name=\"" << prefix
                << "_Tree\" rid=\"900\">\n\t\t<description>The tree</description>\n"
                   "\t</category>\n";
        out << "\t<category name=\"" << category << "\" rid=\"1\">\n\t\t<description>Category "
            << document << " of set " << prefix << "</description>\n";
        // A binary tree of categories: shallow, yet every type reaches several ancestors.
        if (document > 0)
            out << "\t\t<inheritedCategory name=\"" << prefix << "_C" << (document - 1) / 2
                << "\"/>\n";
        writeProperties(out, 10, properties, document);
        out << "\t</category>\n\t<type name=\"" << type << "\" rid=\"2\">\n\t\t<description>Type "
            << document << " of set " << prefix << "</description>\n\t\t<inheritedCategory name=\""
            << category << "\"/>\n\t\t<tree parent=\"" << prefix << "_T"
            << (document > 0 ? document - 1 : 0) << "\" category=\"" << prefix << "_Tree\"/>\n";
        writeProperties(out, 500, properties, document);
        out << "\t</type>\n</metaModel>\n";
        if (!out)
            throw std::runtime_error("cannot write " + path.string());
    }
    return folder;
}

} // namespace TestSupport
