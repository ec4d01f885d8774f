#include "metamodel/builder/metamodelbuilder.h"
#include "metamodel/metamodelexceptions.h"
#include "metamodel/model/raisedmessage.h"
#include "metamodel/validation/functionalvalidator.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "support/messagecapture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using MetaModel::FunctionalValidator;
using Ids = std::vector<std::string>;

// Builds a model from one document held in memory, without stream validation, so that
// faults only a whole model shows can be put in front of the validator.
class BuiltModel {
public:
    explicit BuiltModel(const std::string& body) {
        MetaModel::CXMLMetaModelReader reader(false, false);
        reader.addSource("<metaModel file_no=\"1\" file_level=\"builtin\">" + body + "</metaModel>",
                         "model.xml");
        reader.SetEvents(&builder_);
        reader.readSources();
    }
    const QEL::IMetaModel* model() const { return builder_.GetResult(); }

private:
    MetaModel::CMetaModelBuilder builder_;
};

std::string category(const std::string& name, int rid, const std::string& body = "") {
    return "<category name=\"" + name + "\" rid=\"" + std::to_string(rid) + "\"><description/>" +
           body + "</category>";
}

std::string type(const std::string& name, int rid, const std::string& body = "") {
    return "<type name=\"" + name + "\" rid=\"" + std::to_string(rid) + "\"><description/>" + body +
           "</type>";
}

std::string inherits(const std::string& name) {
    return "<inheritedCategory name=\"" + name + "\"/>";
}

std::string treeLink(const std::string& parent, const std::string& tree) {
    return "<tree parent=\"" + parent + "\" category=\"" + tree + "\"/>";
}

std::string pairProperty(const std::string& name, int rid, const std::string& type,
                         const std::string& subType) {
    auto value = [](const std::string& v) {
        return v.empty() ? std::string()
                         : (v[0] == 's' ? "stringValue=\"" + v + "\"" : "intValue=\"" + v + "\"");
    };
    std::string attributes;
    if (!type.empty())
        attributes += "<attribute name=\"INF_TYPE\" " + value(type) + "/>";
    if (!subType.empty())
        attributes += "<attribute name=\"INF_SUB_TYPE\" " + value(subType) + "/>";
    return "<property name=\"" + name + "\" rid=\"" + std::to_string(rid) +
           "\" type=\"integer\"><description/>" + attributes + "</property>";
}

TEST(FunctionalValidation, AModelWithoutTheNamedTreesAndLanguagesPasses) {
    const BuiltModel built(
        category("A", 1) + category("B", 2, inherits("A")) +
        type("T", 3, inherits("B") + treeLink("T", "Other") + treeLink("T", "Other")));
    TestSupport::MessageCapture messages;
    FunctionalValidator validator;
    EXPECT_TRUE(validator.isValid(built.model()));
    EXPECT_NO_THROW(validator.validate(built.model()));
    EXPECT_EQ(messages.ids(), Ids{});
}

TEST(FunctionalValidation, InheritanceDiamondsPassAndCircuitsAreNamedOnce) {
    const BuiltModel diamond(category("Top", 1) + category("Left", 2, inherits("Top")) +
                             category("Right", 3, inherits("Top")) +
                             category("Bottom", 4, inherits("Left") + inherits("Right")));
    TestSupport::MessageCapture quiet;
    EXPECT_FALSE(FunctionalValidator().inheritanceHasCircuit(diamond.model()));
    EXPECT_EQ(quiet.ids(), Ids{});

    const BuiltModel self(category("Self", 1, inherits("Self")));
    TestSupport::MessageCapture selfMessages;
    EXPECT_TRUE(FunctionalValidator().inheritanceHasCircuit(self.model()));
    EXPECT_EQ(selfMessages.summaries(), Ids{"QEL_MM_CIRCULAR_INHERITANCE@0(CATEGORY_NAME=Self,)"});

    const BuiltModel ring(category("A", 1, inherits("B")) + category("B", 2, inherits("C")) +
                          category("C", 3, inherits("A")));
    TestSupport::MessageCapture ringMessages;
    EXPECT_TRUE(FunctionalValidator().inheritanceHasCircuit(ring.model()));
    EXPECT_EQ(ringMessages.ids(), Ids{"QEL_MM_CIRCULAR_INHERITANCE"});
}

TEST(FunctionalValidation, TreePathsThatMeetAgainCountAsCircuits) {
    // Child has two parents whose own parent is the same: nothing loops, yet it is refused.
    const BuiltModel meeting(
        category("LanternTree", 1) + type("Root", 2) +
        type("Left", 3, treeLink("Root", "LanternTree")) +
        type("Right", 4, treeLink("Root", "LanternTree")) +
        type("Child", 5, treeLink("Left", "LanternTree") + treeLink("Right", "LanternTree")));
    TestSupport::MessageCapture messages;
    FunctionalValidator validator;
    EXPECT_FALSE(validator.isValid(meeting.model()));
    EXPECT_EQ(validator.errorCount(), 1);
    EXPECT_EQ(messages.summaries(),
              Ids{"QEL_MM_TREE_CIRCUIT@0(CATEGORY_NAME=LanternTree,TYPE_NAME=Child,)"});

    const BuiltModel chain(category("ParameterizeTree", 1) + type("Root", 2) +
                           type("Mid", 3, treeLink("Root", "ParameterizeTree")) +
                           type("Leaf", 4, treeLink("Mid", "ParameterizeTree")));
    TestSupport::MessageCapture none;
    EXPECT_TRUE(FunctionalValidator().isValid(chain.model()));
    EXPECT_EQ(none.ids(), Ids{});
}

TEST(FunctionalValidation, InfTypePairsMustComeTogetherAsIntegersAndBeUnique) {
    const BuiltModel built(
        category("C", 1,
                 pairProperty("alone", 2, "1", "") + pairProperty("strings", 3, "s1", "s2") +
                     pairProperty("first", 4, "5", "6") + pairProperty("second", 5, "5", "6") +
                     pairProperty("third", 6, "5", "6") + pairProperty("other", 7, "6", "5") +
                     pairProperty("none", 8, "", "")));
    TestSupport::MessageCapture messages;
    EXPECT_FALSE(FunctionalValidator().infTypInfSubTypAreCorrect(built.model()));
    Ids said = messages.summaries();
    std::sort(said.begin(), said.end());
    EXPECT_EQ(said,
              (Ids{"QEL_MM_INFSUBDUPLICATE@0(FIRST_PROPERTY_NAME=C.first,PROPERTY_NAME=C.second,)",
                   "QEL_MM_INFSUBDUPLICATE@0(FIRST_PROPERTY_NAME=C.first,PROPERTY_NAME=C.third,)",
                   "QEL_MM_INFSUBNOINTEGER@0(PROPERTY_NAME=C.strings,)",
                   "QEL_MM_NOINFSUBTOGETHER@0(PROPERTY_NAME=C.alone,)"}));
    // Each fault fails the check on its own.
    for (const std::string& faulty :
         {pairProperty("alone", 2, "1", ""), pairProperty("strings", 2, "s1", "s2"),
          pairProperty("first", 2, "5", "6") + pairProperty("second", 3, "5", "6")}) {
        const BuiltModel alone(category("C", 1, faulty));
        TestSupport::MessageCapture quiet;
        EXPECT_FALSE(FunctionalValidator().infTypInfSubTypAreCorrect(alone.model())) << faulty;
    }
}

TEST(FunctionalValidation, ACategoryMayReachOneLanguageOnly) {
    const BuiltModel built(
        category("CsvLanguage", 1) + category("Alpha", 2, inherits("CsvLanguage")) +
        category("Beta", 3, inherits("CsvLanguage") + inherits("Alpha")) +
        category("Mixed", 4, inherits("Beta")) + category("Plain", 5, inherits("Alpha")));
    TestSupport::MessageCapture messages;
    EXPECT_FALSE(FunctionalValidator().languageInheritanceAreCorrect(built.model()));
    Ids said = messages.summaries();
    std::sort(said.begin(), said.end());
    EXPECT_EQ(
        said,
        (Ids{"MM_SEVERAL_LANGUAGES@0(LANGUAGES_CATEGORIES=Alpha,Beta,CATEGORY_NAME=Beta,)",
             "MM_SEVERAL_LANGUAGES@0(LANGUAGES_CATEGORIES=Alpha,Beta,CATEGORY_NAME=Mixed,)"}));
}

TEST(FunctionalValidation, ValidateThrowsTheNumberOfFailingChecks) {
    const BuiltModel built(category("Self", 1, inherits("Self") + pairProperty("p", 2, "1", "")));
    TestSupport::MessageCapture messages;
    FunctionalValidator validator;
    EXPECT_EQ(TestSupport::raisedBy<MetaModel::FunctionalMetaModelException>(
                  [&] { validator.validate(built.model()); }),
              (TestSupport::RaisedMessage{"QEL_MM_EXIST_ERR", {{"NUMBER", "2"}}}));
    // A second run counts from zero and says it all again.
    EXPECT_FALSE(validator.isValid(built.model()));
    EXPECT_EQ(validator.errorCount(), 2);
    EXPECT_EQ(messages.ids().size(), 4u);
}

} // namespace
