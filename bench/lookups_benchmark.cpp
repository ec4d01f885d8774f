// lookups_benchmark [--set=DIR] [benchmark options]
//
// The lookups that wrappers, validators and fragments make in their inner loops, on the model
// of a synthetic set (bench/data/L by default): by name and by id, and the membership tests of
// the index tables. Each iteration is one lookup. The keys are drawn at random with a fixed
// seed, half of the membership pairs being members, and cycle through a working set of 64
// keys (an inner loop over a few elements, which stay in the cache) or of 4096 keys (lookups
// spread over the whole model, which mostly miss it).

#include "metamodel/builder/metamodelbuilder.h"
#include "metamodel/model/metamodel.h"
#include "metamodel/xml/xmlmetamodelreader.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t keyCount = 4096;

std::string setFolder = METAMODEL_BENCH_DATA_DIR "/L";

struct Fixture {
    std::unique_ptr<MetaModel::CMetaModelBuilder> builder;
    const QEL::CMetaModel* model = nullptr;
    std::vector<const QEL::ICategory*> categories;
    std::vector<const QEL::IProperty*> properties;
    std::vector<ORLO::String> categoryNames;
    std::vector<ORLO::String> propertyNames;
    std::vector<int> categoryIds;
    std::vector<std::pair<const QEL::ICategory*, const QEL::ICategory*>> categoryPairs;
    std::vector<std::pair<const QEL::ICategory*, const QEL::IProperty*>> propertyPairs;
};

template <class T> T pick(std::mt19937& random, const std::vector<T>& from) {
    return from[random() % from.size()];
}

template <class Set> auto pickMember(std::mt19937& random, const Set& set) {
    return set[random() % set.size()];
}

const Fixture& fixture() {
    static const Fixture built = [] {
        Fixture f;
        f.builder = std::make_unique<MetaModel::CMetaModelBuilder>();
        MetaModel::CXMLMetaModelReader reader(false, false);
        reader.AddRootPath(setFolder);
        reader.SetEvents(f.builder.get());
        reader.Read();
        f.model = dynamic_cast<const QEL::CMetaModel*>(f.builder->GetResult());
        f.categories.assign(f.model->GetCategories().begin(), f.model->GetCategories().end());
        f.properties.assign(f.model->GetProperties().begin(), f.model->GetProperties().end());
        if (f.categories.empty() || f.properties.empty()) {
            std::fprintf(stderr, "lookups_benchmark: %s holds no meta-model\n", setFolder.c_str());
            std::exit(1);
        }
        std::mt19937 random(7);
        for (std::size_t i = 0; i < keyCount; ++i) {
            const QEL::ICategory* category = pick(random, f.categories);
            f.categoryNames.push_back(category->GetName());
            f.categoryIds.push_back(category->GetId());
            f.propertyNames.push_back(pick(random, f.properties)->GetName());
            const bool member = i % 2 == 0;
            f.categoryPairs.emplace_back(category,
                                         member ? pickMember(random, category->GetAllCategories())
                                                : pick(random, f.categories));
            f.propertyPairs.emplace_back(category,
                                         member ? pickMember(random, category->GetAllProperties())
                                                : pick(random, f.properties));
        }
        std::printf("model of %s: %zu categories, %zu properties; tables and indexes %.1f MiB\n",
                    setFolder.c_str(), f.categories.size(), f.properties.size(),
                    double(f.model->IndexMemoryUsed()) / (1024.0 * 1024.0));
        return f;
    }();
    return built;
}

// Runs `lookup` on the keys of the fixture, cycling through the first state.range(0).
template <class Lookup> void cycle(benchmark::State& state, const Lookup& lookup) {
    const Fixture& f = fixture();
    const std::size_t mask = std::size_t(state.range(0)) - 1;
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(lookup(f, i));
        i = (i + 1) & mask;
    }
    state.SetItemsProcessed(state.iterations());
}

void GetCategoryByName(benchmark::State& state) {
    cycle(state, [](const Fixture& f, std::size_t i) {
        return f.model->GetCategory(f.categoryNames[i], false);
    });
}

void GetCategoryById(benchmark::State& state) {
    cycle(state, [](const Fixture& f, std::size_t i) {
        return f.model->GetCategory(f.categoryIds[i], false);
    });
}

void GetPropertyByFullName(benchmark::State& state) {
    cycle(state, [](const Fixture& f, std::size_t i) {
        return f.model->GetProperty(f.propertyNames[i], false);
    });
}

void GetCategoryIndex(benchmark::State& state) {
    cycle(state, [](const Fixture& f, std::size_t i) {
        return f.model->GetCategoryIndex(f.categoryPairs[i].first, f.categoryPairs[i].second);
    });
}

void GetPropertyIndex(benchmark::State& state) {
    cycle(state, [](const Fixture& f, std::size_t i) {
        return f.model->GetPropertyIndex(f.propertyPairs[i].first, f.propertyPairs[i].second);
    });
}

void SupportsCategory(benchmark::State& state) {
    cycle(state, [](const Fixture& f, std::size_t i) {
        return f.categoryPairs[i].first->SupportsCategory(f.categoryPairs[i].second);
    });
}

void HasProperty(benchmark::State& state) {
    cycle(state, [](const Fixture& f, std::size_t i) {
        return f.propertyPairs[i].first->HasProperty(f.propertyPairs[i].second);
    });
}

BENCHMARK(GetCategoryByName)->Arg(64)->Arg(keyCount);
BENCHMARK(GetCategoryById)->Arg(64)->Arg(keyCount);
BENCHMARK(GetPropertyByFullName)->Arg(64)->Arg(keyCount);
BENCHMARK(GetCategoryIndex)->Arg(64)->Arg(keyCount);
BENCHMARK(GetPropertyIndex)->Arg(64)->Arg(keyCount);
BENCHMARK(SupportsCategory)->Arg(64)->Arg(keyCount);
BENCHMARK(HasProperty)->Arg(64)->Arg(keyCount);

} // namespace

int main(int argc, char** argv) {
    std::vector<char*> rest;
    for (int i = 0; i < argc; ++i) {
        if (std::strncmp(argv[i], "--set=", 6) == 0)
            setFolder = argv[i] + 6;
        else
            rest.push_back(argv[i]);
    }
    int count = int(rest.size());
    benchmark::Initialize(&count, rest.data());
    fixture();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
