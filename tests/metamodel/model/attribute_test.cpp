#include "metamodel/model/attribute.h"
#include "metamodel/model/ids.h"
#include "metamodel/model/metamodel.h"
#include "platform/appdatamanager.h"
#include "platform/appmsgmanager.h"
#include "support/messagecapture.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using TestSupport::MessageCapture;

TEST(AttributedItem, TheLatestAttributeOfANameHidesTheOthersWhichStayListed) {
    QEL::CAttributedItem item;
    const QEL::IAttribute* first = item.AddAttribute("A0", "red");
    for (int i = 1; i < 20; ++i)
        item.AddAttribute("A" + std::to_string(i % 12), i);
    for (int i = 0; i < 12; ++i) {
        const int latest = i < 8 ? i + 12 : i;
        ASSERT_EQ(item.GetAttribute("A" + std::to_string(i))->GetIntegerValue(), latest) << i;
    }
    EXPECT_EQ(item.GetAttributes().size(), 20u);
    EXPECT_TRUE(item.GetAttributes().contains(first));
    EXPECT_EQ(item.GetAttribute("A12"), nullptr);
    EXPECT_EQ(item.GetAttribute("a1"), nullptr) << "names compare exactly";
    EXPECT_EQ(item.GetAttribute("A1")->GetStatus(), QEL::EsInactive) << "the caller sets it";

    // A copy owns copies of every attribute, hidden ones included.
    const QEL::CAttributedItem copy(item);
    EXPECT_EQ(copy.GetAttributes().size(), 20u);
    EXPECT_NE(copy.GetAttribute("A3"), item.GetAttribute("A3"));
    EXPECT_EQ(copy.GetAttribute("A3")->GetIntegerValue(), 15);

    // Given again, a hidden attribute is the one its name answers, also on an item with too
    // few attributes to keep an index of their names.
    QEL::CAttributedItem few;
    QEL::IAttribute* const hidden = few.AddAttribute("N", "first");
    few.AddAttribute("N", 2);
    few.AddAttribute(hidden);
    EXPECT_EQ(few.GetAttribute("N"), hidden);
    EXPECT_EQ(few.GetAttributes().size(), 2u);
}

TEST(AttributedItem, AModelPropertyKeepsItsAttributesAndACopyOwnsItsOwn) {
    auto model = std::make_unique<QEL::CMetaModel>();
    QEL::CCategory* owner = model->AddCategory("Owner");
    QEL::CProperty* property = model->AddProperty("p", "Owner.p", "", "string", "no", 1, 0, 1);
    owner->AddProperty(property);
    const QEL::IAttribute* named = property->AddAttribute("NOTE", "a text that is long enough");
    QEL::IAttribute* const taken = new QEL::CIntegerAttribute("NOTE", 3);
    property->AddAttribute(taken);
    property->AddAttribute(taken); // listed already: stays once, and is not deleted
    for (int i = 0; i < 10; ++i)
        property->AddAttribute("A" + std::to_string(i), i);
    EXPECT_EQ(property->GetAttributes().size(), 12u);
    EXPECT_TRUE(property->GetAttributes().contains(named));
    EXPECT_EQ(property->GetAttribute("NOTE")->GetIntegerValue(), 3);
    EXPECT_EQ(property->GetAttribute("A9")->GetIntegerValue(), 9);

    // The copy outlives the model, attributes and all.
    auto copy = std::make_unique<QEL::CProperty>(*property);
    model.reset();
    ASSERT_EQ(copy->GetAttributes().size(), 12u);
    EXPECT_EQ(copy->GetAttribute("NOTE")->GetIntegerValue(), 3);
    EXPECT_EQ(copy->GetAttributes()[0]->GetStringValue(), "a text that is long enough");
    copy->AddAttribute("LATE", 1);
    EXPECT_EQ(copy->GetAttribute("LATE")->GetIntegerValue(), 1);
    // An attribute given again is the one its name answers, and is listed once.
    copy->AddAttribute(const_cast<QEL::IAttribute*>(copy->GetAttributes()[0]));
    EXPECT_EQ(copy->GetAttribute("NOTE")->GetStringValue(), "a text that is long enough");
    EXPECT_EQ(copy->GetAttributes().size(), 13u);
}

TEST(AttributedItem, AskingForTheWrongKindOfValueWarnsAndAnswersNothing) {
    MessageCapture capture;
    QEL::CAttributedItem item;
    const QEL::IAttribute* number = item.AddAttribute("LIMIT", 3);
    const QEL::IAttribute* text = item.AddAttribute("LABEL", "three");
    EXPECT_EQ(number->GetStringValue(), ORLO::String::nil());
    EXPECT_EQ(text->GetIntegerValue(), 0);
    EXPECT_EQ(number->GetIntegerValue(), 3);
    EXPECT_EQ(text->GetStringValue(), "three");
    ASSERT_EQ(capture.ids(), (std::vector<std::string>{"QEL_MM_INVALID_ATTR_TYP_USAGE",
                                                       "QEL_MM_INVALID_ATTR_TYP_USAGE"}));
    EXPECT_EQ(capture.argument(0, "ATTR_NAM"), "LIMIT");
    EXPECT_EQ(capture.argument(1, "ATTR_NAM"), "LABEL");
}

// A message manager that a host could not set up: it answers its first question with false.
class UnusableManager : public AppMsgManager::IAppMsgManager {
public:
    bool invariant() const override { return false; }
    void Release() override {}
    int AddRef() override { return 1; }
    void RemoveRef() override {}
    CppLanguage::CAppMsg* ExceptionToMsg(const std::exception*) override { return nullptr; }
    void PostMsg(const CppLanguage::IAppMsg& message) override { real->PostMsg(message); }
    void FormatMsg(const char*, ...) override {}
    CppLanguage::CAppMsg* CreateMsg(const char*, ...) override { return nullptr; }
    void Fill(CppLanguage::CAppMsg& record, const char* id,
              const AppMsgManager::MessageOrigin& origin,
              std::span<const CppLanguage::CBindArgNameToVal* const> arguments) override {
        real->Fill(record, id, origin, arguments);
    }

private:
    AppMsgManager::IAppMsgManager* real = AppMsgManager::LoadAppMsgManager();
};

TEST(AttributedItem, MisuseIsSilentOnlyInProductionWithoutAUsableMessageManager) {
    QEL::CAttributedItem item;
    const QEL::IAttribute* number = item.AddAttribute("LIMIT", 3);
    UnusableManager unusable;
    MessageCapture capture;
    AppMsgManager::SetAppMsgManager(&unusable);
    AppDataManager::AppDataOverrides production;
    production.hasProductionMode = true;
    production.productionMode = 1;
    AppDataManager::SetAppDataOverrides(production);
    number->GetStringValue();
    EXPECT_TRUE(capture.ids().empty());

    AppDataManager::AppDataOverrides development = production;
    development.productionMode = 0;
    AppDataManager::SetAppDataOverrides(development);
    number->GetStringValue();
    EXPECT_EQ(capture.ids().size(), 1u);

    AppMsgManager::SetAppMsgManager(nullptr);
    AppDataManager::SetAppDataOverrides({});
}

TEST(IdGroups, EachDirectionKeepsItsFirstRegistration) {
    QEL::CIds ids;
    QEL::CIds::CIdGroup& group = ids.CategoryGroup();
    group.Add("Alpha", 1);
    group.Add("Beta", 1);
    group.Add("Alpha", 2);
    EXPECT_EQ(group.GetName(1), "Alpha");
    EXPECT_EQ(group.GetId("Beta"), 1);
    EXPECT_EQ(group.GetId("Alpha"), 1);
    EXPECT_EQ(group.GetName(2), "Alpha");
    EXPECT_EQ(group.GetId("Gamma"), int(0x80000000u));
    EXPECT_EQ(group.GetName(3), "");
    EXPECT_FALSE(group.Has(3));
    EXPECT_TRUE(group.Has("Beta"));

    // The groups are separate: a property may have a category's id.
    EXPECT_FALSE(ids.GetPropertyGroup().Has(1));
    ids.PropertyGroup().Add("Alpha.size", 1);
    EXPECT_EQ(ids.GetPropertyGroup().GetName(1), "Alpha.size");
    EXPECT_EQ(ids.GetCategoryGroup().GetName(1), "Alpha");

    // A copy answers alike, also once the original is gone.
    auto original = std::make_unique<QEL::CIds>(ids);
    const QEL::CIds::CIdGroup copy(original->CategoryGroup());
    original->CategoryGroup().Add("Delta", 4);
    original.reset();
    EXPECT_FALSE(copy.Has(4));
    EXPECT_EQ(copy.GetName(2), "Alpha");
    EXPECT_EQ(copy.GetId("Beta"), 1);
}

} // namespace
