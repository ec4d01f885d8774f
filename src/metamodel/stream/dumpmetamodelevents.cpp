#include "metamodel/stream/dumpmetamodelevents.h"

#include "metamodel/metamodelexceptions.h"
#include "platform/messages.h"

#include <charconv>
#include <iterator>

CDumpMetaModelEvents::CDumpMetaModelEvents(const ORLO::String& fileName) : fileName_(fileName) {}

// "label<TAB>id<TAB>name<CR><LF>", built by hand: a dump writes one line per element and
// printf-style formatting would cost more than the parse.
void CDumpMetaModelEvents::PrintLine(const ORLO::String& label, const ORLO::String& name, int id) {
    char digits[16];
    const auto converted = std::to_chars(std::begin(digits), std::end(digits), id);
    line_.assign(label);
    line_ += '\t';
    line_.append(digits, converted.ptr);
    line_ += '\t';
    line_ += name;
    line_ += "\r\n";
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
    qualifiedName_.assign(currentOwner_);
    qualifiedName_ += '.';
    qualifiedName_ += name;
    PrintLine("Prop", qualifiedName_, id);
}
