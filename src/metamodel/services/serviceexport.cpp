#include "metamodel/services/serviceexport.h"

#include <cstdio>
#include <memory>
#include <stdexcept>

namespace libserviceexport {

namespace {

// Identifies the host's configuration format, not a place to fetch anything from.
constexpr const char* configurationNamespace = "urn:metamodel:configuration";

} // namespace

ServiceRegistry& serviceRegistry() {
    static ServiceRegistry registry;
    return registry;
}

void registerService(const std::string& id, IServiceFactory* factory) {
    serviceRegistry()[id] = factory;
}

CFunctionServiceFactory::CFunctionServiceFactory(MakeFunction make, const std::string& id)
    : make_(make), id_(id) {
    registerService(id, this);
}

} // namespace libserviceexport

NodServices::IService* GetNewService(const char* id) {
    const libserviceexport::ServiceRegistry& registry = libserviceexport::serviceRegistry();
    const auto found = registry.find(id);
    if (found == registry.end())
        throw std::out_of_range("invalid map<K, T> key");
    return found->second->makeService();
}

bool BuildExportFile(const char* path, const char* libraryName) {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path, "w"), std::fclose);
    if (!file)
        return false;
    std::FILE* out = file.get();
    std::fputs("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n", out);
    std::fprintf(out,
                 "<configuration xmlns=\"%s\" "
                 "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
                 "xsi:schemaLocation=\"%s configuration.xsd\">\n",
                 libserviceexport::configurationNamespace,
                 libserviceexport::configurationNamespace);
    for (const auto& [id, factory] : libserviceexport::serviceRegistry()) {
        std::fputs("\t<service>\n", out);
        std::fprintf(out, "\t\t<id>%s</id>\n", id.c_str());
        std::fprintf(out, "\t\t<dll>%s</dll>\n", libraryName);
        std::fputs("\t</service>\n", out);
    }
    std::fputs("</configuration>\n", out);
    return true;
}
