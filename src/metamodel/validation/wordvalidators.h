#pragma once

#include "metamodel/model/propertyclassifiers.h"

namespace MetaModel {

// Answers whether a word is one of the ten property type words of documents; it builds
// nothing.
class CPropertyTypeValidator : public QEL::IPropertyTypeBuilder,
                               private QEL::CXmlPropertyTypeClassifier {
public:
    bool recognized() const { return recognized_; }

    void OnInteger() override { recognized_ = true; }
    void OnString() override { recognized_ = true; }
    void OnDateTime() override { recognized_ = true; }
    void OnBookmark() override { recognized_ = true; }
    void OnReference() override { recognized_ = true; }
    void OnIntegerList() override { recognized_ = true; }
    void OnStringList() override { recognized_ = true; }
    void OnDateTimeList() override { recognized_ = true; }
    void OnBookmarkList() override { recognized_ = true; }
    void OnReferenceList() override { recognized_ = true; }
    void OnUnknown() override { recognized_ = false; }

private:
    bool recognized_ = false;
};

// Answers whether a word is one of the four merge words of documents.
class CPropertyMergeValidator : public QEL::IPropertyMergeBuilder,
                                private QEL::CXmlPropertyMergeClassifier {
public:
    bool recognized() const { return recognized_; }

    void OnNo() override { recognized_ = true; }
    void OnSum() override { recognized_ = true; }
    void OnDistinct() override { recognized_ = true; }
    void OnBitOr() override { recognized_ = true; }
    void OnUnknown() override { recognized_ = false; }

private:
    bool recognized_ = false;
};

} // namespace MetaModel
