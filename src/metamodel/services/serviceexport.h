#pragma once

#include <map>
#include <string>

namespace NodServices {
class IService;
}

namespace libserviceexport {

// Makes a new service object; the caller owns it.
class IServiceFactory {
public:
    virtual NodServices::IService* makeService() = 0;

protected:
    ~IServiceFactory() = default;
};

// Service id to factory, by bytewise order of the ids; the factories are not owned.
using ServiceRegistry = std::map<std::string, IServiceFactory*>;

// Built on first use, so that services registering from static objects find it whatever the
// order in which the library's static objects are initialised.
ServiceRegistry& serviceRegistry();

// A second registration under an id replaces the first.
void registerService(const std::string& id, IServiceFactory* factory);

// One static object per service: its construction registers the service under its id.
template <class T> class CServiceFactory : public IServiceFactory {
public:
    explicit CServiceFactory(const std::string& id) { registerService(id, this); }
    virtual ~CServiceFactory() = default;
    CServiceFactory(const CServiceFactory&) = delete;
    CServiceFactory& operator=(const CServiceFactory&) = delete;
    NodServices::IService* makeService() override { return new T; }
};

class CFunctionServiceFactory : public IServiceFactory {
public:
    using MakeFunction = NodServices::IService* (*)();
    CFunctionServiceFactory(MakeFunction make, const std::string& id);
    virtual ~CFunctionServiceFactory() = default;
    CFunctionServiceFactory(const CFunctionServiceFactory&) = delete;
    CFunctionServiceFactory& operator=(const CFunctionServiceFactory&) = delete;
    NodServices::IService* makeService() override { return make_(); }

private:
    MakeFunction make_;
    std::string id_;
};

} // namespace libserviceexport

// The host finds these two by name in the loaded library.
extern "C" {
// A new factory object for the service id, compared exactly; throws std::out_of_range for an
// id that no service has.
__attribute__((visibility("default"))) NodServices::IService* GetNewService(const char* id);
// Writes the document that pairs every service id with `libraryName`; false when the file
// cannot be opened for writing.
__attribute__((visibility("default"))) bool BuildExportFile(const char* path,
                                                            const char* libraryName);
}
