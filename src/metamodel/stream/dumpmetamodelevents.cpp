#include "metamodel/stream/dumpmetamodelevents.h"

#include "cpplanguage/messages.h"
#include "metamodel/metamodelexceptions.h"

CDumpMetaModelEvents::CDumpMetaModelEvents(const ORLO::String& fileName) : fileName_(fileName) {}

void CDumpMetaModelEvents::PrintLine(const ORLO::String& label, const ORLO::String& name, int id) {
    line_.Format("%s\t%d\t%s\r\n", label.c_str(), id, name.c_str());
    writer_->write(line_);
}

void CDumpMetaModelEvents::OnStart() {
    writer_ = ORLO::FileIOHelper::getWriter(fileName_);
    writer_->open();
    if (!writer_->isOpen())
        CppLanguage::raise<MetaModel::CMetaModelEventsException>(ORLO_HERE, "QEL_MM_DUMP_FILE_ERR",
                                                                 {{"FILE", fileName_}});
}

void CDumpMetaModelEvents::OnEnd() {
    if (writer_)
        writer_->close();
}

void CDumpMetaModelEvents::OnStartCategory(const ORLO::String& name, bool partial,
                                           const ORLO::String&, int id, const ElementStatus&) {
    currentOwner_ = name;
    if (!partial)
        PrintLine("Cat ", name, id);
}

void CDumpMetaModelEvents::OnEndCategory(bool) {
    currentOwner_.clear();
}

void CDumpMetaModelEvents::OnStartType(const ORLO::String& name, bool partial, const ORLO::String&,
                                       int id, const ElementStatus&) {
    currentOwner_ = name;
    if (!partial)
        PrintLine("Typ ", name, id);
}

void CDumpMetaModelEvents::OnEndType(bool) {
    currentOwner_.clear();
}

void CDumpMetaModelEvents::OnStartProperty(const ORLO::String& name, const ORLO::String&,
                                           const ORLO::String&, const int&, const int&,
                                           const ORLO::String&, int id, const ElementStatus&) {
    PrintLine("Prop", currentOwner_ + "." + name, id);
}
