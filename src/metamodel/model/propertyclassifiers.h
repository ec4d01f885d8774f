#pragma once

#include "cpplanguage/orlostring.h"

#include <memory>

namespace QEL {

class CPropertyType;

// The two closed vocabularies of properties. A classifier gives the words of one dialect; a
// builder compares a word with them in a fixed order and calls back the operation of the word
// that matched. So building a type, checking a word and translating a word share one
// comparison, and nothing else in the system switches over these words.

extern const ORLO::String IntegerWord;
extern const ORLO::String StringWord;
extern const ORLO::String DateTimeWord;
extern const ORLO::String BookmarkWord;
extern const ORLO::String ReferenceWord;
extern const ORLO::String IntegerListWord;
extern const ORLO::String StringListWord;
extern const ORLO::String DateTimeListWord;
extern const ORLO::String BookmarkListWord;
extern const ORLO::String ReferenceListWord;

class IPropertyTypeClassifier {
public:
    virtual ORLO::String GetIntegerWord() const = 0;
    virtual ORLO::String GetStringWord() const = 0;
    virtual ORLO::String GetDateTimeWord() const = 0;
    virtual ORLO::String GetBookmarkWord() const = 0;
    virtual ORLO::String GetReferenceWord() const = 0;
    virtual ORLO::String GetIntegerListWord() const = 0;
    virtual ORLO::String GetStringListWord() const = 0;
    virtual ORLO::String GetDateTimeListWord() const = 0;
    virtual ORLO::String GetBookmarkListWord() const = 0;
    virtual ORLO::String GetReferenceListWord() const = 0;

protected:
    ~IPropertyTypeClassifier() = default;
};

class CXmlPropertyTypeClassifier : public virtual IPropertyTypeClassifier {
public:
    ORLO::String GetIntegerWord() const override { return IntegerWord; }
    ORLO::String GetStringWord() const override { return StringWord; }
    ORLO::String GetDateTimeWord() const override { return DateTimeWord; }
    ORLO::String GetBookmarkWord() const override { return BookmarkWord; }
    ORLO::String GetReferenceWord() const override { return ReferenceWord; }
    ORLO::String GetIntegerListWord() const override { return IntegerListWord; }
    ORLO::String GetStringListWord() const override { return StringListWord; }
    ORLO::String GetDateTimeListWord() const override { return DateTimeListWord; }
    ORLO::String GetBookmarkListWord() const override { return BookmarkListWord; }
    ORLO::String GetReferenceListWord() const override { return ReferenceListWord; }
};

class IPropertyTypeBuilder : public virtual IPropertyTypeClassifier {
public:
    virtual void OnInteger() = 0;
    virtual void OnString() = 0;
    virtual void OnDateTime() = 0;
    virtual void OnBookmark() = 0;
    virtual void OnReference() = 0;
    virtual void OnIntegerList() = 0;
    virtual void OnStringList() = 0;
    virtual void OnDateTimeList() = 0;
    virtual void OnBookmarkList() = 0;
    virtual void OnReferenceList() = 0;
    virtual void OnUnknown() = 0;

    // Exact, case-sensitive comparison; the first equal word wins.
    void Classify(const ORLO::String& word);

protected:
    ~IPropertyTypeBuilder() = default;
};

// Makes the type object of a word, null for an unknown word. The object dies with the builder
// unless the caller takes it.
class CPropertyTypeBuilder : public IPropertyTypeBuilder, private CXmlPropertyTypeClassifier {
public:
    CPropertyTypeBuilder();
    virtual ~CPropertyTypeBuilder();

    void OnInteger() override;
    void OnString() override;
    void OnDateTime() override;
    void OnBookmark() override;
    void OnReference() override;
    void OnIntegerList() override;
    void OnStringList() override;
    void OnDateTimeList() override;
    void OnBookmarkList() override;
    void OnReferenceList() override;
    void OnUnknown() override;

    // The object of the last word classified, null for an unknown word. The builder hands it
    // over and never deletes it: whoever classifies takes it.
    CPropertyType* GetResult() const { return result_; }

private:
    CPropertyType* result_ = nullptr;
};

class IPropertyMergeClassifier {
public:
    virtual ORLO::String GetNoWord() const = 0;
    virtual ORLO::String GetSumWord() const = 0;
    virtual ORLO::String GetDistinctWord() const = 0;
    virtual ORLO::String GetBitOrWord() const = 0;

protected:
    ~IPropertyMergeClassifier() = default;
};

// The words of documents.
class CXmlPropertyMergeClassifier : public virtual IPropertyMergeClassifier {
public:
    ORLO::String GetNoWord() const override { return "no"; }
    ORLO::String GetSumWord() const override { return "sum"; }
    ORLO::String GetDistinctWord() const override { return "cct_dist_alpha"; }
    ORLO::String GetBitOrWord() const override { return "bitor"; }
};

// The words of the repository.
class CDBPropertyMergeClassifier : public virtual IPropertyMergeClassifier {
public:
    ORLO::String GetNoWord() const override { return "NON"; }
    ORLO::String GetSumWord() const override { return "SUM"; }
    ORLO::String GetDistinctWord() const override { return "CDA"; }
    ORLO::String GetBitOrWord() const override { return "BOR"; }
};

class IPropertyMergeBuilder : public virtual IPropertyMergeClassifier {
public:
    virtual void OnNo() = 0;
    virtual void OnSum() = 0;
    virtual void OnDistinct() = 0;
    virtual void OnBitOr() = 0;
    virtual void OnUnknown() = 0;

    void Classify(const ORLO::String& word);

protected:
    ~IPropertyMergeBuilder() = default;
};

// The merge value of a document's word: 0 to 3, -1 for an unknown word.
class CPropertyMergeBuilder : public IPropertyMergeBuilder, private CXmlPropertyMergeClassifier {
public:
    virtual ~CPropertyMergeBuilder() = default;

    void OnNo() override { result_ = 0; }
    void OnSum() override { result_ = 1; }
    void OnDistinct() override { result_ = 2; }
    void OnBitOr() override { result_ = 3; }
    void OnUnknown() override { result_ = -1; }

    int GetResult() const { return result_; }

private:
    int result_ = -1;
};

// Translates a merge word of the dialect From into the dialect To; an unknown word becomes the
// empty word, which is for the validator to refuse.
template <class From, class To>
class CPropertyMergeConverter : public IPropertyMergeBuilder, private From {
public:
    virtual ~CPropertyMergeConverter() = default;

    void OnNo() override { result_ = to_.GetNoWord(); }
    void OnSum() override { result_ = to_.GetSumWord(); }
    void OnDistinct() override { result_ = to_.GetDistinctWord(); }
    void OnBitOr() override { result_ = to_.GetBitOrWord(); }
    void OnUnknown() override { result_.clear(); }

    const ORLO::String& GetResult() const { return result_; }

private:
    To to_;
    ORLO::String result_;
};

using CDBToXmlMergeConverter =
    CPropertyMergeConverter<CDBPropertyMergeClassifier, CXmlPropertyMergeClassifier>;
using CXmlToDBMergeConverter =
    CPropertyMergeConverter<CXmlPropertyMergeClassifier, CDBPropertyMergeClassifier>;

} // namespace QEL

// The builders of the words are named among the stream's builders as well.
namespace MetaModel {
using QEL::CDBPropertyMergeClassifier;
using QEL::CPropertyMergeBuilder;
using QEL::CPropertyMergeConverter;
using QEL::CPropertyTypeBuilder;
using QEL::CXmlPropertyMergeClassifier;
using QEL::CXmlPropertyTypeClassifier;
using QEL::IPropertyMergeBuilder;
using QEL::IPropertyMergeClassifier;
using QEL::IPropertyTypeBuilder;
using QEL::IPropertyTypeClassifier;
} // namespace MetaModel
