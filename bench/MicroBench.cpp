// Micro-benchmarks of the assembler's hot paths: the tokenizer and the grammar over a generated
// source, mnemonic lookup, the dictionary's adding and repacking (with the straightforward
// repacking beside it), and the name-keyed hash tables.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "assembler/OpcodeLookup.h"
#include "assembler/Parser.h"
#include "bench/PresetGenerator.h"
#include "bench/TextCorpus.h"
#include "compiled/Dictionary.h"
#include "compiled/FunctionManager.h"
#include "compiled/VariableHash.h"
#include "foundation/HashTable.h"
#include "platform/TextFile.h"

namespace {

// The grammar with every action doing nothing: what reading costs without assembling.
class NullParser : public Parser {
  public:
    explicit NullParser(File* file) : Parser(file) {}
    int AssembleError(ErrorCode, const String&) override { return 1; }
    int ProcessGlobal(const char*, int, const char*, int) override { return 0; }
    int ProcessSystem(const char*, int, const char*, int) override { return 0; }
    int ProcessLocal(const char*, int, const char*, int) override { return 0; }
    int ProcessOpcode(int, int) override { return 0; }
    int ProcessImmediate(const char*, int, int, int) override { return 0; }
    int ProcessFunction(const char*, int, int) override { return 0; }
    int ProcessEndFunction() override { return 0; }
    int ProcessParameter(const char*, int, const char*, int, int) override { return 0; }
    int ProcessString(const char*, int, const char*, int) override { return 0; }
    int ProcessLabel(const char*, int) override { return 0; }
    int ProcessLocalized(const char*, int, int* index) override {
        *index = -1;
        return 0;
    }
    int ProcessVersion(const char*, int) override { return 0; }
    int ProcessIdent(const char*, int) override { return 0; }
    int ProcessDisableLogging() override { return 0; }
    int ProcessLocLangEntry(const char*, int, const char*, int, int) override { return 0; }
};

// The small preset's source, made once.
const std::string& small_source() {
    static const std::string source = [] {
        FILE* out = std::tmpfile();
        PresetGenerator generator(*find_preset("small"), 2024);
        generator.Write(out);
        std::string bytes(static_cast<size_t>(generator.counts().bytes), '\0');
        std::rewind(out);
        size_t got = std::fread(&bytes[0], 1, bytes.size(), out);
        std::fclose(out);
        bytes.resize(got);
        return bytes;
    }();
    return source;
}

std::vector<std::string> corpus(int count, bool distinct) {
    TextCorpus texts(7, 5, 60, distinct);
    std::vector<std::string> result;
    for (int i = 0; i < count; i++) result.push_back(texts.Next());
    return result;
}

void BM_Tokenizer(benchmark::State& state) {
    const std::string& source = small_source();
    for (auto _ : state) {
        TextFile file(source);
        NullParser parser(&file);
        const char* text = nullptr;
        int length = 0;
        String value;
        int64_t tokens = 0;
        while (parser.GetNextToken(&text, length, &value) != TOKEN_END_OF_INPUT) tokens++;
        benchmark::DoNotOptimize(tokens);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(source.size()));
}
BENCHMARK(BM_Tokenizer)->Unit(benchmark::kMillisecond);

void BM_Grammar(benchmark::State& state) {
    const std::string& source = small_source();
    for (auto _ : state) {
        TextFile file(source);
        NullParser parser(&file);
        benchmark::DoNotOptimize(parser.Start());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(source.size()));
}
BENCHMARK(BM_Grammar)->Unit(benchmark::kMillisecond);

void BM_MnemonicLookup(benchmark::State& state) {
    std::vector<std::string> words;
    for (int slot = 0; slot <= OpcodeLookup::LAST_SLOT; slot++) {
        const OpcodeEntry& entry = OpcodeLookup::opcodes[slot];
        words.emplace_back(entry.name, entry.name_length);
    }
    for (const char* word : {"count", "total", "L12", "item_3", "pushlx"}) words.push_back(word);
    OpcodeLookup lookup;
    for (auto _ : state) {
        for (const std::string& word : words) {
            benchmark::DoNotOptimize(lookup.Lookup(word.data(), static_cast<int>(word.size())));
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(words.size()));
}
BENCHMARK(BM_MnemonicLookup);

void BM_DictionaryAdd(benchmark::State& state) {
    std::vector<std::string> texts = corpus(static_cast<int>(state.range(0)), true);
    for (auto _ : state) {
        Dictionary dictionary;
        for (const std::string& text : texts) {
            dictionary.Entry_Add(text.data(), static_cast<int>(text.size()));
        }
        benchmark::DoNotOptimize(dictionary.blocks());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_DictionaryAdd)->Arg(10000)->Arg(200000)->Unit(benchmark::kMillisecond);

// Repacking 'range(0)' distinct texts; the filled dictionary is copied outside the timing.
template <bool reference>
void BM_DictionaryCompress(benchmark::State& state) {
    std::vector<std::string> texts = corpus(static_cast<int>(state.range(0)), true);
    Dictionary filled;
    for (const std::string& text : texts)
        filled.Entry_Add(text.data(), static_cast<int>(text.size()));
    for (auto _ : state) {
        state.PauseTiming();
        std::unique_ptr<Dictionary> dictionary(new Dictionary(filled));
        state.ResumeTiming();
        if (reference) {
            dictionary->Compress_Reference();
        } else {
            dictionary->Compress();
        }
        benchmark::DoNotOptimize(dictionary->block(0));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK_TEMPLATE(BM_DictionaryCompress, false)
    ->Arg(10000)
    ->Arg(200000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_DictionaryCompress, true)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_VariableHashInsert(benchmark::State& state) {
    std::vector<std::string> names;
    for (int i = 0; i < state.range(0); i++) names.push_back("item_" + std::to_string(i));
    for (auto _ : state) {
        Dictionary dictionary;
        VariableHash table(&dictionary, 12, 512, 0);
        for (const std::string& name : names) {
            benchmark::DoNotOptimize(table.Insert(name.data(), static_cast<int>(name.size())));
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_VariableHashInsert)->Arg(8)->Arg(1000)->Arg(100000);

void BM_FunctionTable(benchmark::State& state) {
    std::vector<std::string> names;
    for (int i = 0; i < state.range(0); i++) names.push_back("f" + std::to_string(i));
    for (auto _ : state) {
        Dictionary dictionary;
        FunctionManager functions(&dictionary, 8);
        for (const std::string& name : names) {
            int length = static_cast<int>(name.size());
            if (functions.Function_Get(name.data(), length) == nullptr) {
                functions.Function_Add(name.data(), length, 1);
            }
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_FunctionTable)->Arg(1000)->Arg(40000)->Unit(benchmark::kMillisecond);

struct Named {
    std::string name;
};

class NameTable : public HashTable<Named> {
  public:
    NameTable() : HashTable<Named>(1, 1, 12, 512) {}
    using HashTable<Named>::hash;
    unsigned hash(Named* object) override {
        return hash(object->name.c_str(), static_cast<int>(object->name.size()));
    }
    int Compare(Named* entry, Named* object) override {
        return Compare(entry, object->name.c_str(), static_cast<int>(object->name.size()));
    }
    int Compare(Named* entry, const char* name, int length) override {
        return CompareName(entry->name.c_str(), static_cast<int>(entry->name.size()), name, length);
    }
};

void BM_HashTable(benchmark::State& state) {
    std::vector<std::string> names;
    for (int i = 0; i < state.range(0); i++) names.push_back("name_" + std::to_string(i));
    for (auto _ : state) {
        NameTable table;
        for (const std::string& name : names) table.Insert(new Named{name});
        for (const std::string& name : names) {
            benchmark::DoNotOptimize(table.Find(name.data(), static_cast<int>(name.size())));
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_HashTable)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
