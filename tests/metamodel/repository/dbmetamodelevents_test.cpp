#include "metamodel/metamodelexceptions.h"
#include "metamodel/model/raisedmessage.h"
#include "metamodel/repository/dbmetamodelevents.h"
#include "metamodel/repository/repositoryschema.h"
#include "platform/database/connection.h"
#include "platform/database/databaseexceptions.h"
#include "platform/database/tablink.h"

#include "repositorytesting.h"
#include "support/failureinfo.h"
#include "support/forwardingbackend.h"
#include "support/tempfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>

namespace {

using MetaModel::CDBMetaModelEvents;
using MetaModel::IMetaModelEvents;
using RepositoryTesting::Backend;
using RepositoryTesting::Repository;
using Rows = std::vector<std::string>;

constexpr auto Active = IMetaModelEvents::EsActive;
constexpr auto Deprecated = IMetaModelEvents::EsDeprecated;
constexpr auto Obsolete = IMetaModelEvents::EsObsolete;
constexpr auto Inactive = IMetaModelEvents::EsInactive;
constexpr int NoId = IMetaModelEvents::NoId;

void property(IMetaModelEvents& sink, const char* name, const char* description, const char* type,
              int minimum, int maximum, const char* merge, int id,
              IMetaModelEvents::ElementStatus status = Active) {
    sink.StartProperty(name, description, type, minimum, maximum, merge, id, status);
    sink.EndProperty();
}

// Leaf (3) inherits Middle (2), which inherits Root (1): Leaf reaches Root through Middle.
void inheritanceChain(IMetaModelEvents& sink) {
    sink.StartCategory("Root", false, "", 1, Active);
    sink.EndCategory(false);
    sink.StartCategory("Middle", false, "", 2, Active);
    sink.InheritedCategory("Root", Active);
    sink.EndCategory(false);
    sink.StartType("Leaf", false, "", 3, Active);
    sink.InheritedCategory("Middle", Active);
    sink.EndType(false);
}

// What each type reaches, as "type|category|ACTIVE", sorted as text: every category one
// category link or more away from one it inherits directly, other than those it inherits
// directly. Links are "child|parent" rows.
Rows reachedLinks(const Rows& categoryLinks, const Rows& typeLinks) {
    const auto split = [](const std::string& link) {
        const size_t bar = link.find('|');
        return std::pair(link.substr(0, bar), link.substr(bar + 1));
    };
    std::map<std::string, std::vector<std::string>> parents;
    for (const std::string& link : categoryLinks) {
        auto [child, parent] = split(link);
        parents[child].push_back(parent);
    }
    std::map<std::string, std::set<std::string>> inherited;
    for (const std::string& link : typeLinks) {
        auto [type, parent] = split(link);
        inherited[type].insert(parent);
    }
    Rows reached;
    for (const auto& [type, direct] : inherited) {
        std::set<std::string> seen;
        std::vector<std::string> next(direct.begin(), direct.end());
        while (!next.empty()) {
            const std::string at = next.back();
            next.pop_back();
            for (const std::string& parent : parents[at])
                if (seen.insert(parent).second)
                    next.push_back(parent);
        }
        for (const std::string& category : seen)
            if (!direct.contains(category))
                reached.push_back(type + "|" + category + "|ACTIVE");
    }
    std::sort(reached.begin(), reached.end());
    return reached;
}

class RepositoryWriter : public testing::TestWithParam<Backend> {
protected:
    void SetUp() override {
        repository_ = std::make_unique<Repository>(GetParam());
        ASSERT_TRUE(repository_->database.ready()) << repository_->database.problem();
    }
    Rows rows(const std::string& table, const std::string& columns,
              const std::string& condition = "") const {
        return repository_->rows(table, columns, condition);
    }

    std::unique_ptr<Repository> repository_;
};

// Every event kind, in an order where names are used before they are declared, with partial
// declarations that complete elements declared elsewhere. A link given again is stored once,
// unless its status differs; an attribute given again is stored again.
TEST_P(RepositoryWriter, EveryEventLandsInItsTableWithNamesResolvedAtTheEnd) {
    CDBMetaModelEvents sink(repository_->handle(), "");
    EXPECT_TRUE(sink.invariant());
    sink.Start();
    sink.StartCategory("Base", false, "Root", 10, Active);
    sink.Attribute("INF", 7, Active);
    sink.Attribute("LABEL", "text", Deprecated);
    sink.StartProperty("size", "Size", "integer", 0, 1, "sum", 100, Active);
    sink.Attribute("UNIT", "byte", Active);
    sink.EndProperty();
    sink.EndCategory(false);

    sink.StartType("File", false, "", 20, Obsolete);
    sink.InheritedCategory("Base", Active);
    sink.InheritedCategory("Later", Active);
    sink.InheritedCategory("Base", Active);
    sink.InheritedCategory("Base", Deprecated);
    sink.Tree("Folder", "Containment", Active);
    sink.Tree("Folder", "Containment", Active);
    sink.Tree("Folder", "Containment", Obsolete);
    property(sink, "owner", "", "Folder", 0, -1, "cct_dist_alpha", 101);
    property(sink, "tags", "Tags", "stringList", 0, -1, "bitor", 102, Inactive);
    sink.EndType(false);

    sink.StartCategory("Later", false, "L", 5, Active);
    sink.InheritedCategory("Base", Active);
    sink.InheritedCategory("Ghost", Active);
    sink.EndCategory(false);
    sink.StartType("Folder", false, "F", 30, Active);
    sink.Attribute("ODD", 3, static_cast<IMetaModelEvents::ElementStatus>(9));
    sink.Attribute("ODD", 3, static_cast<IMetaModelEvents::ElementStatus>(9));
    property(sink, "kind", "Kind", "dateTime", 1, 1, "unheard-of", 104);
    sink.EndType(false);
    sink.StartCategory("Containment", false, "C", 40, Active);
    sink.EndCategory(false);

    sink.StartCategory("Base", true, "", NoId, Active);
    sink.Attribute("STRAY", 1, Active);
    property(sink, "extra", "Extra", "bookmark", 1, 1, "no", 103);
    sink.InheritedCategory("Later", Active);
    sink.EndCategory(true);
    sink.StartType("Folder", true, "", NoId, Active);
    property(sink, "link", "Link", "reference", 0, 1, "no", 105);
    sink.EndType(true);
    sink.StartType("File", true, "", NoId, Active);
    sink.InheritedCategory("Base", Active);
    sink.EndType(true);
    // A property's owner is the last full declaration of its element's name; a name only
    // ever declared partially gives none.
    sink.StartCategory("Twice", false, "T", 50, Active);
    property(sink, "early", "Early", "integer", 0, 1, "no", 106);
    sink.EndCategory(false);
    sink.StartCategory("Twice", false, "T", 60, Active);
    sink.EndCategory(false);
    sink.StartType("Phantom", true, "", NoId, Active);
    property(sink, "lost", "Lost", "integer", 0, 1, "no", 107);
    sink.EndType(true);
    sink.End();

    EXPECT_EQ(rows("Cat", "IdCat, CatNam, CatDsc, Status"),
              (Rows{"5|Later|L|ACTIVE", "10|Base|Root|ACTIVE", "40|Containment|C|ACTIVE",
                    "50|Twice|T|ACTIVE", "60|Twice|T|ACTIVE"}));
    EXPECT_EQ(rows("Typ", "IdTyp, TypNam, TypDsc, Status"),
              (Rows{"20|File|File|OBSOLETE", "30|Folder|F|ACTIVE"}))
        << "an empty description is stored as the name";
    // An attribute directly in a partial element has no id to go with.
    EXPECT_EQ(rows("CatAttr", "IdCat, AttrNam, AttrTyp, IntVal, StrVal, Status"),
              (Rows{"-2147483648|STRAY|137475|1|NULL|ACTIVE", "10|INF|137475|7|NULL|ACTIVE",
                    "10|LABEL|137476|NULL|text|DEPRECATED"}));
    EXPECT_EQ(rows("TypAttr", "IdTyp, AttrNam, AttrTyp, IntVal, StrVal, Status"),
              (Rows{"30|ODD|137475|3|NULL|", "30|ODD|137475|3|NULL|"}))
        << "a status outside the enumeration is stored empty";
    EXPECT_EQ(rows("PropAttr", "IdProp, AttrNam, AttrTyp, IntVal, StrVal, Status"),
              (Rows{"100|UNIT|137476|NULL|byte|ACTIVE"}));
    EXPECT_EQ(rows("CatCat", "IdCat, IdCatParent, Status"),
              (Rows{"5|-2147483648|ACTIVE", "5|10|ACTIVE", "10|5|ACTIVE"}));
    EXPECT_EQ(rows("TypCat", "IdTyp, IdCatParent, IsCatProp, Status", "IsCatProp = 1"),
              (Rows{"20|5|1|ACTIVE", "20|10|1|ACTIVE", "20|10|1|DEPRECATED"}));
    EXPECT_EQ(rows("TreeCat", "IdFrom, IdTo, IdCat, Status"),
              (Rows{"20|30|40|ACTIVE", "20|30|40|OBSOLETE"}));
    EXPECT_EQ(rows("Prop", "IdProp, PropNam, PropDsc, PropTyp, PropMrg, CardMin, CardMax, Status"),
              (Rows{"100|size|Size|137475|SUM|0|1|ACTIVE", "101|owner|owner|30|CDA|0|-1|ACTIVE",
                    "102|tags|Tags|-2147483648|BOR|0|-1|INACTIVE",
                    "103|extra|Extra|137477|NON|1|1|ACTIVE", "104|kind|Kind|137478||1|1|ACTIVE",
                    "105|link|Link|1028|NON|0|1|ACTIVE", "106|early|Early|137475|NON|0|1|ACTIVE",
                    "107|lost|Lost|137475|NON|0|1|ACTIVE"}));
    // Properties of partial elements belong to the element their name completes. The work
    // table takes the owner first, the reverse of IN_PROPCAT; the final tables put the property
    // first in both.
    EXPECT_EQ(repository_->database.rows("select * from IN_TYPPROP order by 1, 2"),
              (Rows{"-2147483648|107|ACTIVE", "20|101|ACTIVE", "20|102|INACTIVE", "30|104|ACTIVE",
                    "30|105|ACTIVE"}));
    EXPECT_EQ(repository_->database.rows("select * from TypProp order by 1, 2"),
              (Rows{"101|20|ACTIVE", "102|20|INACTIVE", "104|30|ACTIVE", "105|30|ACTIVE",
                    "107|-2147483648|ACTIVE"}));
    EXPECT_EQ(repository_->database.rows("select * from PropCat order by 1, 2"),
              (Rows{"100|10|ACTIVE", "103|10|ACTIVE", "106|60|ACTIVE"}));
}

// Refused statements, the failure of the final step and a meta-model replacing another are
// seen through the tool, on both servers, in the transfer command's tests; a missing work
// table in the transfer operation's.
TEST_P(RepositoryWriter, AMissingProcedureIsNamed) {
    repository_->database.execute(GetParam() == Backend::Sqlite
                                      ? "DELETE FROM STORED_PROCEDURES "
                                        "WHERE ProcName = 'METAMODEL_FLUSHDATA'"
                                      : "DROP PROCEDURE METAMODEL_FLUSHDATA");
    CDBMetaModelEvents sink(repository_->handle(), "");
    sink.Start();
    inheritanceChain(sink);
    const auto raised =
        TestSupport::raisedBy<MetaModel::CMetaModelEventsException>([&] { sink.End(); });
    EXPECT_EQ(raised.id, "QEL_DB_PROC_ERR");
    EXPECT_EQ(raised.arguments.at("CALL"), "?METAMODEL_FLUSHDATA");
    // What the type reaches through Middle is the procedures' to add: the writer leaves the
    // direct link alone.
    EXPECT_EQ(repository_->database.rows("select * from " + repository_->qualified("IN_TYPCAT")),
              Rows{"3|2|1|ACTIVE"});
}

// The links that types reach through their categories, as the repository's dependency
// procedure adds them (on the embedded database through a function of the program, on the
// server through a recursive query), against a walk of the same direct links. The shapes
// stress what a walk over ids can get wrong: long chains, many ways to one ancestor, circuits,
// parents never declared, a link given twice with two statuses, links that a partial
// declaration adds, and ancestors that a type also inherits directly.
TEST_P(RepositoryWriter, TheLinksTypesReachAreThoseTheProcedureDerives) {
    struct Shape {
        const char* name;
        int categories;
        int types;
        int parentsPerElement;
        // Parents among the latest `window` categories, or any category when 0.
        int window;
        // Whether a category may inherit one declared after it, which makes circuits.
        bool forward;
        // Every n-th link names a category that does not exist; 0: none.
        int missingEvery;
    };
    const Shape shapes[] = {
        {"chain", 60, 5, 1, 1, false, 0},
        {"diamonds", 80, 30, 3, 6, false, 0},
        {"circuits", 40, 20, 2, 0, true, 0},
        {"unresolved", 50, 20, 2, 10, false, 7},
    };
    for (const Shape& shape : shapes) {
        SCOPED_TRACE(shape.name);
        std::mt19937 random(unsigned(shape.categories * 31 + shape.types));
        const auto category = [](int index) { return "C" + std::to_string(index); };
        int links = 0;
        const auto parentOf = [&](int self) -> std::string {
            ++links;
            if (shape.missingEvery && links % shape.missingEvery == 0)
                return "Missing";
            const int bound = shape.forward ? shape.categories : std::max(self, 1);
            const int low = shape.window ? std::max(0, bound - shape.window) : 0;
            return category(low + int(random() % unsigned(bound - low)));
        };
        {
            CDBMetaModelEvents sink(repository_->handle(), "");
            sink.Start();
            for (int index = 0; index < shape.categories; ++index) {
                sink.StartCategory(category(index), false, "", 100 + index, Active);
                for (int link = 0; index > 0 && link < shape.parentsPerElement; ++link)
                    sink.InheritedCategory(parentOf(index), link % 2 ? Deprecated : Active);
                sink.EndCategory(false);
            }
            for (int index = 0; index < shape.types; ++index) {
                const std::string name = "T" + std::to_string(index);
                sink.StartType(name, false, "", 1000 + index, Active);
                std::string first = parentOf(shape.categories);
                sink.InheritedCategory(first, Active);
                sink.InheritedCategory(first, Obsolete);
                sink.InheritedCategory(parentOf(shape.categories), Active);
                sink.EndType(false);
                sink.StartType(name, true, "", NoId, Active);
                sink.InheritedCategory(parentOf(shape.categories), Active);
                sink.EndType(true);
            }
            sink.End();
        }
        Rows written = rows("TypCat", "IdTyp, IdCatParent, Status", "IsCatProp = 0");
        EXPECT_FALSE(written.empty());
        std::sort(written.begin(), written.end());
        EXPECT_EQ(written, reachedLinks(rows("CatCat", "IdCat, IdCatParent"),
                                        rows("TypCat", "IdTyp, IdCatParent", "IsCatProp = 1")));
    }
}

// Work tables filled by other means: a link whose IsCatProp is neither 0 nor 1 says that the
// type has the category already, not that it inherits it.
TEST_P(RepositoryWriter, OnlyDirectInheritanceLeadsFurtherWhileEveryLinkIsKept) {
    const auto insert = [&](const std::string& table, const std::string& values) {
        repository_->database.execute("insert into " + repository_->qualified(table) + " values " +
                                      values);
    };
    insert("IN_CATCAT", "(2, 1, 'ACTIVE'), (1, 5, 'ACTIVE'), (6, 7, 'ACTIVE')");
    insert("IN_TYPCAT", "(3, 6, 2, 'ACTIVE'), (4, 2, 1, 'ACTIVE'), (4, 5, 2, 'ACTIVE')");
    int result = 0;
    ASSERT_TRUE(TABLINK::DBConnectivity::callProc(repository_->handle(), "CAT_BUILD_DEPENDENCIES"));
    TABLINK::DBConnectivity::endProc(repository_->handle(), &result);
    EXPECT_EQ(rows("IN_TYPCAT", "IdTyp, IdCatParent", "IsCatProp = 0"), Rows{"4|1"});
}

INSTANTIATE_ON_BOTH_SERVERS(RepositoryWriter);

// A file's link rows may hold any value; one that is no integer stops the procedure, as no id
// of the program's can stand for it.
TEST(EmbeddedRepository, TheDependencyProcedureRefusesAnIdThatIsNoInteger) {
    Repository repository(Backend::Sqlite);
    ASSERT_TRUE(repository.database.ready()) << repository.database.problem();
    repository.database.execute("insert into IN_CATCAT values ('x', 1, 'ACTIVE')");
    repository.database.execute("insert into IN_TYPCAT values (3, 2, 1, 'ACTIVE')");
    EXPECT_FALSE(TABLINK::DBConnectivity::callProc(repository.handle(), "CAT_BUILD_DEPENDENCIES"));
    EXPECT_THAT(TABLINK::dblasterror(repository.handle()),
                testing::HasSubstr("an id that is not an integer: 'x'"));
    EXPECT_EQ(repository.database.rows("select count(*) from IN_TYPCAT"), Rows{"1"});
}

// The embedded database's dependency function works in the schema whose procedure runs: here
// an attached file, beside a main one with a repository of its own, which an unqualified name
// would reach.
TEST(EmbeddedRepository, TheDependencyProcedureWorksInTheSchemaOfItsRepository) {
    TestSupport::TempFolder folder;
    const std::string attached = folder.file("attached.sqlite");
    IUniqueConnection connection(folder.file("main.sqlite"), "", TABLINK::OpenMode::Create);
    void* handle = connection.GetHandle();
    ASSERT_EQ(
        TABLINK::dbcallrequest(handle, ("ATTACH DATABASE '" + attached + "' AS other").c_str()), 1);
    TABLINK::dbendrequest(handle);
    MetaModel::CreateRepository(handle);
    ASSERT_EQ(TABLINK::dbsetrepositoryname(handle, "other", -1, nullptr), 1);
    MetaModel::CreateRepository(handle);
    CDBMetaModelEvents sink(handle, "other");
    sink.Start();
    inheritanceChain(sink);
    sink.End();
    EXPECT_EQ(TestSupport::runSql(Backend::Sqlite, attached, "select * from TypCat order by 2"),
              (Rows{"3|1|0|ACTIVE", "3|2|1|ACTIVE"}));
}

// A server whose kind the two real backends never answer: the real embedded database behind
// it does the work, the fake only claims another kind and records the commit step.
class FakeServerKind : public TestSupport::ForwardingBackend {
public:
    FakeServerKind(std::unique_ptr<TABLINK::IBackend> real, int kind, std::vector<std::string>& log)
        : ForwardingBackend(std::move(real)), kind_(kind), log_(log) {}

    int serverKind() const override { return kind_; }
    bool query(const std::string& sql) override {
        log_.push_back(sql);
        return sql == "commit" || ForwardingBackend::query(sql);
    }
    bool commit() override {
        log_.push_back("<dbcommit>");
        return true;
    }
    bool callProcedure(const std::string& prefix, const std::string& name, bool wantResult,
                       int& result) override {
        log_.push_back("<call " + name + ">");
        return ForwardingBackend::callProcedure(prefix, name, wantResult, result);
    }

private:
    int kind_;
    std::vector<std::string>& log_;
};

class ServerKind : public testing::Test {
protected:
    // Writes one category through a connection that claims `kind`; answers the statements,
    // commits and calls in the order the server saw them.
    std::vector<std::string> write(int kind) {
        Repository repository(Backend::Sqlite);
        EXPECT_TRUE(repository.database.ready());
        repository.database.execute("INSERT INTO IN_CAT VALUES (9, 'stale', 'stale', 'ACTIVE')");
        std::string problem;
        auto real = TABLINK::openSqliteBackend(repository.database.connectionString(),
                                               TABLINK::OpenMode::Existing, problem);
        std::vector<std::string> log;
        IUniqueConnection fake(std::make_unique<TABLINK::CConnection>(
                                   std::make_unique<FakeServerKind>(std::move(real), kind, log)),
                               "");
        CDBMetaModelEvents sink(fake.GetHandle(), "");
        try {
            sink.Start();
            sink.StartCategory("C", false, "", 1, Active);
            sink.EndCategory(false);
            sink.End();
        } catch (const MetaModel::CMetaModelEventsException& failure) {
            log.push_back("<raised " + TestSupport::failureId(failure) + ">");
        }
        workRows = repository.database.rows("select IdCat from IN_CAT");
        finalRows = repository.database.rows("select CatNam from Cat");
        return log;
    }
    Rows workRows;
    Rows finalRows;
};

std::vector<std::string> afterDeletes(const std::vector<std::string>& log) {
    std::vector<std::string> rest;
    for (const std::string& entry : log)
        if (entry.rfind("delete from ", 0) != 0)
            rest.push_back(entry);
    return rest;
}

TEST_F(ServerKind, DecidesOnlyTheCommitStepAfterTheWorkTablesAreEmptied) {
    const Rows calls = {"<call METAMODEL_FLUSHDATA>", "<call CAT_BUILD_DEPENDENCIES>",
                        "<call FINAL_METAMODEL>"};
    for (const int autocommit : {1, 5}) {
        const auto log = write(autocommit);
        EXPECT_EQ(log.size(), 11u + 3u) << autocommit;
        EXPECT_EQ(afterDeletes(log), calls) << autocommit;
        EXPECT_EQ(finalRows, Rows{"C"});
    }
    auto log = write(2);
    ASSERT_EQ(log.size(), 15u);
    EXPECT_EQ(log[10], "delete from IN_TYPPROP");
    EXPECT_EQ(log[11], "commit");
    log = write(3);
    ASSERT_EQ(log.size(), 15u);
    EXPECT_EQ(log[11], "<dbcommit>");
    EXPECT_EQ(finalRows, Rows{"C"});

    for (const int unknown : {0, 4, 6}) {
        log = write(unknown);
        EXPECT_EQ(afterDeletes(log), Rows{"<raised QEL_DB_UNSUPPORTED_SERVER>"}) << unknown;
        EXPECT_EQ(workRows, Rows{}) << "the work tables are emptied before the kind is asked";
        EXPECT_EQ(finalRows, Rows{});
    }
}

} // namespace
