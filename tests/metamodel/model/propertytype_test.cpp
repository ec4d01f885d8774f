#include "metamodel/model/metamodel.h"
#include "metamodel/model/property.h"
#include "metamodel/model/propertyclassifiers.h"
#include "metamodel/model/propertytype.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

std::unique_ptr<QEL::CPropertyType> typeOf(const std::string& word) {
    QEL::CPropertyTypeBuilder builder;
    builder.Classify(word);
    // The builder hands its object over: this one outlives it.
    return std::unique_ptr<QEL::CPropertyType>(builder.GetResult());
}

TEST(PropertyTypeBuilder, EveryWordMakesItsKindAndNothingElseMakesAType) {
    const std::vector<std::string> words = {
        "integer",     "string",     "dateTime",     "bookmark",     "reference",
        "integerList", "stringList", "dateTimeList", "bookmarkList", "referenceList"};
    for (size_t kind = 0; kind < words.size(); ++kind) {
        const auto type = typeOf(words[kind]);
        ASSERT_NE(type, nullptr) << words[kind];
        EXPECT_EQ(type->GetKind(), int(kind));
        EXPECT_EQ(type->IsList(), kind >= 5) << words[kind];
    }
    for (const std::string word : {"Integer", "", "integer ", "list", "REFERENCE"})
        EXPECT_EQ(typeOf(word), nullptr) << "'" << word << "'";
}

// Notes which family each visit reached.
struct FamilyVisitor : QEL::IPropertyTypeVisitor {
    std::vector<std::string> seen;
    void Visit(const QEL::CListPropertyType& list) override {
        seen.push_back("list");
        list.GetElementType().Accept(*this);
    }
    void Visit(const QEL::CBookmarkPropertyType&) override { seen.push_back("bookmark"); }
    void Visit(const QEL::CReferencePropertyType&) override { seen.push_back("reference"); }
    void Visit(const QEL::CDateTimePropertyType&) override { seen.push_back("dateTime"); }
    void Visit(const QEL::CStringPropertyType&) override { seen.push_back("string"); }
    void Visit(const QEL::CIntegerPropertyType&) override { seen.push_back("integer"); }
};

TEST(PropertyTypes, AVisitorMeetsAListAsAListAndItsElementOnlyThroughIt) {
    FamilyVisitor visitor;
    for (const char* word : {"integerList", "bookmark", "dateTime", "referenceList", "string"})
        typeOf(word)->Accept(visitor);
    EXPECT_EQ(visitor.seen, (std::vector<std::string>{"list", "integer", "bookmark", "dateTime",
                                                      "list", "reference", "string"}));
}

TEST(Property, FlagsAreIntegerAttributesOtherThanZero) {
    QEL::CProperty property;
    EXPECT_FALSE(property.IsTransient());
    property.AddAttribute("TRANSIENT", "1");
    EXPECT_FALSE(property.IsTransient()) << "a string attribute does not count";
    property.AddAttribute("TRANSIENT", 1);
    EXPECT_TRUE(property.IsTransient());
    property.AddAttribute("INDEX", 0);
    EXPECT_FALSE(property.IsIndexed());
    property.AddAttribute("INDEX", 2);
    EXPECT_TRUE(property.IsIndexed());

    // A copy shares the type object and has attributes of its own.
    property.SetType(typeOf("string").release());
    const QEL::CProperty copy(property);
    EXPECT_EQ(copy.GetPropertyType(), property.GetPropertyType());
    EXPECT_TRUE(copy.IsIndexed());
    EXPECT_NE(copy.GetAttribute("INDEX"), property.GetAttribute("INDEX"));
}

int mergeOf(const std::string& word) {
    QEL::CPropertyMergeBuilder builder;
    builder.Classify(word);
    return builder.GetResult();
}

TEST(MergeClassifiers, DocumentWordsGiveTheirRuleAndRepositoryWordsAreForeign) {
    EXPECT_EQ(mergeOf("no"), 0);
    EXPECT_EQ(mergeOf("sum"), 1);
    EXPECT_EQ(mergeOf("cct_dist_alpha"), 2);
    EXPECT_EQ(mergeOf("bitor"), 3);
    EXPECT_EQ(mergeOf("BOR"), -1);
    EXPECT_EQ(mergeOf(""), -1);
    EXPECT_EQ(mergeOf("Sum"), -1);
}

TEST(MergeClassifiers, ConvertersTranslateBothWaysAndEmptyAnUnknownWord) {
    const std::vector<std::pair<std::string, std::string>> pairs = {
        {"no", "NON"}, {"sum", "SUM"}, {"cct_dist_alpha", "CDA"}, {"bitor", "BOR"}};
    for (const auto& [document, repository] : pairs) {
        QEL::CXmlToDBMergeConverter toRepository;
        toRepository.Classify(document);
        EXPECT_EQ(toRepository.GetResult(), repository);
        QEL::CDBToXmlMergeConverter back;
        back.Classify(toRepository.GetResult());
        EXPECT_EQ(back.GetResult(), document);
    }
    QEL::CXmlToDBMergeConverter unknown;
    unknown.Classify("NON");
    EXPECT_EQ(unknown.GetResult(), "");
}

} // namespace
