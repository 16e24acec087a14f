// vexo-bench [Google Benchmark's options] [DOCUMENT...]: compares this library with its peers.
//
// With documents, JSON or, by their extension, TOML: every operation on each of them, and on more
// and more copies of those that are small; without: objects and arrays of integers. The benchmarks
// are named OPERATION/SUBJECT/LIBRARY; where formats of this library are compared, or its behaviour
// with growing documents and hostile keys, the format, operation or order of the keys takes the
// place of the library. Their counter "each" is
// the time for one item, in processor time: for a document's operations an item is a value of its
// tree (every scalar, array and object), so that all libraries are divided by the same number.
// "bytes" is the live heap for one value, "text" the bytes of text for one, where speed by text is
// of interest.
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <type_traits>

#include "meter.h"
#include "peers.h"

namespace bench {
namespace {

using benchmark::DoNotOptimize;
using vexo::variant::Variant;

constexpr std::size_t kItemsAtOnce = 4000;
constexpr std::size_t kWeighedItems = 100'000;  // enough to outweigh what the heap caches
constexpr std::size_t kElements = 1'000'000;
constexpr std::size_t kLeastProbes = 4096;

// --- Documents -----------------------------------------------------------------------------------

struct Document {
  std::string name;
  bool isToml;
  std::string text;
  Variant tree;
  Census census;
};

Document readDocument(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  Document document;
  document.name = path.stem().string();
  document.isToml = path.extension() == ".toml";
  document.text.assign(std::istreambuf_iterator<char>(file), {});
  if (!file || document.text.empty()) throw std::runtime_error("cannot read " + path.string());
  document.tree = (document.isToml ? OurToml::load : Ours::load)(document.text);
  document.census = Census(document.tree);
  return document;
}

/// Fails unless the text holds the document. Doubles may differ: not every writer keeps all digits.
void checkText(const Document& document, std::string_view peer, const std::string& text) {
  const Variant again = Ours::load(text);
  const bool same = document.census.doubles > 0 ? Census(again).values == document.census.values
                                                : again == document.tree;
  if (!same) fail(peer, "JSON of " + document.name + " differs");
}

/// A library that had read or written only a part would look fast.
template <Peer P>
void check(const Document& document) {
  const auto tree = P::load(document.text);
  if constexpr (JsonPeer<P>) {
    checkText(document, P::kName, std::string(P::text(P::write(tree))));
  }
  if constexpr (TomlPeer<P>) {
    if (P::count(tree) != document.census.values) fail(P::kName, document.name + " differs");
  }
  if constexpr (CopyPeer<P>) {
    if (!P::equal(P::copy(tree), tree)) fail(P::kName, "copy of " + document.name + " differs");
    if constexpr (BinaryPeer<P>) {
      if (!P::equal(P::decode(P::encode(tree)), tree)) {
        fail(P::kName, "decoded " + document.name + " differs");
      }
    }
  }
}

// --- Making, reading, releasing ------------------------------------------------------------------

/// How many times something is done between two looks at the clock: one small document alone would
/// be lost in the cost of looking.
std::size_t timesFor(std::size_t items) { return std::max<std::size_t>(1, kItemsAtOnce / items); }

template <class Make>
using Made = std::vector<std::invoke_result_t<const Make&>>;

template <class Make>
void fill(Made<Make>& made, const Make& make) {
  while (made.size() < made.capacity()) made.push_back(make());
}

/// What it takes to make something of `items` items, without its release.
template <class Make>
void measureMaking(benchmark::State& state, std::size_t items, const Make& make) {
  Made<Make> made;
  made.reserve(timesFor(items));
  measure(
      state, made.capacity() * items, [&] { made.clear(); }, [&] { fill(made, make); });
}

/// What it takes to release what `make` makes, apart from what the C library puts off.
template <class Make>
void measureRelease(benchmark::State& state, std::size_t items, const Make& make) {
  Made<Make> made;
  made.reserve(timesFor(items));
  measure(
      state, made.capacity() * items, [&] { fill(made, make); }, [&] { made.clear(); });
}

/// What it takes in all to make something and to release it.
template <class Make>
void measureLife(benchmark::State& state, std::size_t items, const Make& make) {
  Made<Make> made;
  made.reserve(timesFor(items));
  measure(state, made.capacity() * items, [&] {
    fill(made, make);
    made.clear();
    settleHeap();
  });
}

/// What it takes to call `read`, and to release its result.
void measureReading(benchmark::State& state, std::size_t items, const auto& read) {
  const std::size_t times = timesFor(items);
  measure(state, times * items, [&] {
    for (std::size_t i = 0; i < times; ++i) DoNotOptimize(read());
  });
}

/// The live heap for one item of what `make` makes.
template <class Make>
double bytesPerItem(std::size_t items, const Make& make) {
  Made<Make> made;
  made.reserve(1 + kWeighedItems / items);
  const std::size_t before = liveBytes();
  fill(made, make);
  return static_cast<double>(liveBytes() - before) / static_cast<double>(made.size() * items);
}

void add(const std::string& operation, const std::string& subject, std::string_view peer,
         auto run) {
  const std::string name = operation + "/" + subject + "/" + std::string(peer);
  benchmark::RegisterBenchmark(name.c_str(), run)->UseManualTime();
}

/// Lets the time be told for a byte of text as well.
void countText(benchmark::State& state, const std::string& text, std::size_t items) {
  state.counters["text"] = static_cast<double>(text.size()) / static_cast<double>(items);
}

template <Peer P>
void addDocument(const Document& document) {
  check<P>(document);
  const auto addOperation = [&](const std::string& operation, auto run) {
    add(operation, document.name, P::kName, run);
  };
  const std::size_t items = document.census.values;
  const auto load = [&document] { return P::load(document.text); };
  if constexpr (JsonPeer<P>) {
    addOperation("parse", [=](benchmark::State& state) {
      state.counters["bytes"] = bytesPerItem(items, load);
      measureMaking(state, items, load);
    });
    addOperation("write", [=](benchmark::State& state) {
      measureReading(state, items, [tree = load()] { return P::write(tree); });
    });
    addOperation("release", [=](benchmark::State& state) { measureRelease(state, items, load); });
    addOperation("life", [=](benchmark::State& state) { measureLife(state, items, load); });
  }
  if constexpr (TomlPeer<P>) {
    addOperation("import", [=, &document](benchmark::State& state) {
      countText(state, document.text, items);
      measureMaking(state, items, load);
    });
  }
  if constexpr (CopyPeer<P>) {
    addOperation("copy", [=](benchmark::State& state) {
      measureMaking(state, items, [tree = load()] { return P::copy(tree); });
    });
    addOperation("compare", [=](benchmark::State& state) {
      measureReading(state, items, [a = load(), b = load()] { return P::equal(a, b); });
    });
  }
  if constexpr (BinaryPeer<P>) {
    addOperation("encode", [=](benchmark::State& state) {
      measureReading(state, items, [tree = load()] { return P::encode(tree); });
    });
    addOperation("decode", [=](benchmark::State& state) {
      measureMaking(state, items, [bytes = P::encode(load())] { return P::decode(bytes); });
    });
  }
}

// --- Our formats against each other --------------------------------------------------------------

/// The document with its strings on one line each: KVP has no way to write a line end.
Variant onSingleLines(std::string json) {
  for (const std::string_view escape : {"\\n", "\\r"}) {
    for (std::size_t at = 0; (at = json.find(escape, at)) != std::string::npos;) {
      json.replace(at, escape.size(), "  ");
    }
  }
  return Ours::load(json);
}

/// The text counts on its own for each format; `items` is the same for all.
template <class Format>
void addTextFormat(const std::string& subject, const Variant& tree, std::size_t items) {
  const std::string text = Format::write(tree);
  const Variant read = Format::load(text);
  if (Format::load(Format::write(read)) != read) fail(Format::kName, subject + " differs");
  add("text-parse", subject, Format::kName, [=](benchmark::State& state) {
    countText(state, text, items);
    measureMaking(state, items, [&] { return Format::load(text); });
  });
  add("text-write", subject, Format::kName, [=](benchmark::State& state) {
    countText(state, text, items);
    measureReading(state, items, [&] { return Format::write(tree); });
  });
}

template <class Format>
void addBinaryFormat(const Document& document) {
  Format::encode(document.tree);  // fails if it cannot
  add("binary", document.name, Format::kName, [&document](benchmark::State& state) {
    measureReading(state, document.census.values, [&] { return Format::encode(document.tree); });
  });
}

void addFormats(const Document& document) {
  const Variant tree = onSingleLines(document.text);
  addTextFormat<Kvp>(document.name, tree, document.census.values);
  addTextFormat<Json>(document.name, tree, document.census.values);
  addBinaryFormat<Amf>(document);
  addBinaryFormat<Bin>(document);
}

// --- Growth --------------------------------------------------------------------------------------

constexpr std::size_t kSmallDocument = 4096;

/// An array of as many copies as it takes to have `size` bytes of text.
std::string copiesOf(const std::string& text, std::size_t size) {
  std::string copies = "[" + text;
  while (copies.size() < size) copies += "," + text;
  return copies + "]";
}

/// What an operation costs for each value must not depend on the size of the document.
void addGrowth(const Document& document, std::size_t size) {
  const auto addOperation = [&](std::string_view operation, auto run) {
    add("growth", std::to_string(size), operation, [=, &document](benchmark::State& state) {
      const std::string text = copiesOf(document.text, size);
      const Variant tree = Ours::load(text);
      run(state, Census(tree).values, tree, text);
    });
  };
  using State = benchmark::State;
  using Tree = const Variant&;
  using Text = const std::string&;
  addOperation("parse", [](State& state, std::size_t items, Tree, Text text) {
    measureMaking(state, items, [&] { return Ours::load(text); });
  });
  addOperation("write", [](State& state, std::size_t items, Tree tree, Text) {
    measureReading(state, items, [&] { return Ours::write(tree); });
  });
  addOperation("copy", [](State& state, std::size_t items, Tree tree, Text) {
    measureMaking(state, items, [&] { return Ours::copy(tree); });
  });
  addOperation("compare", [](State& state, std::size_t items, Tree tree, Text) {
    measureReading(state, items, [&, other = tree] { return Ours::equal(tree, other); });
  });
  addOperation("release", [](State& state, std::size_t items, Tree tree, Text) {
    measureRelease(state, items, [&] { return Ours::copy(tree); });
  });
  addOperation("encode", [](State& state, std::size_t items, Tree tree, Text) {
    measureReading(state, items, [&] { return Ours::encode(tree); });
  });
  addOperation("decode", [](State& state, std::size_t items, Tree tree, Text) {
    measureMaking(state, items, [bytes = Ours::encode(tree)] { return Ours::decode(bytes); });
  });
}

// --- Objects and arrays of integers --------------------------------------------------------------

using Keys = std::vector<std::string>;

/// Different keys in random order.
Keys randomKeys(std::size_t count) {
  std::mt19937_64 random(count);
  Keys keys(count);
  for (std::size_t i = 0; i < count; ++i) {
    std::string& key = keys[i];
    for (std::uint64_t bits = random(); key.size() < 6; bits /= 26) {
      key += static_cast<char>('a' + bits % 26);
    }
    key += std::to_string(i);
  }
  return keys;
}

Keys randomProbes(const Keys& keys) {
  std::mt19937_64 random;
  Keys probes(std::max(keys.size(), kLeastProbes));
  for (std::string& probe : probes) probe = keys[random() % keys.size()];
  return probes;
}

template <KeyedPeer P>
typename P::Object objectOf(const Keys& keys) {
  typename P::Object object;
  for (const std::string& key : keys) P::insert(object, key, 1);
  return object;
}

template <KeyedPeer P>
typename P::Array arrayOf(std::size_t count) {
  typename P::Array array;
  for (std::size_t i = 0; i < count; ++i) P::append(array, static_cast<std::int64_t>(i));
  return array;
}

template <KeyedPeer P>
void lookup(benchmark::State& state, const Keys& keys) {
  const Keys probes = randomProbes(keys);
  const auto object = objectOf<P>(keys);
  std::int64_t found = 0;
  measure(
      state, probes.size(), [&] { found = 0; },
      [&] {
        for (const std::string& probe : probes) found += P::lookup(object, probe);
      });
  if (found != static_cast<std::int64_t>(probes.size())) state.SkipWithError("keys not found");
}

template <KeyedPeer P>
void iterate(benchmark::State& state) {
  const auto array = arrayOf<P>(kElements);
  std::int64_t sum = 0;
  measure(state, kElements, [&] {
    P::visit(array, [&](const auto& element) { sum += P::number(element); });
    DoNotOptimize(sum);
  });
}

template <KeyedPeer P>
void addContainers() {
  for (const std::size_t count : {std::size_t{16}, std::size_t{1000}, std::size_t{100'000}}) {
    const std::string subject = std::to_string(count);
    add("lookup", subject, P::kName,
        [=](benchmark::State& state) { lookup<P>(state, randomKeys(count)); });
    add("insert", subject, P::kName, [keys = randomKeys(count)](benchmark::State& state) {
      measureMaking(state, keys.size(), [&] { return objectOf<P>(keys); });
    });
  }
  const std::string subject = std::to_string(kElements);
  add("append", subject, P::kName, [](benchmark::State& state) {
    measureMaking(state, kElements, [] { return arrayOf<P>(kElements); });
  });
  add("iterate", subject, P::kName, iterate<P>);
}

/// Orders and forms of keys that some containers are slow with.
struct HostileKeys {
  const char* name;
  Keys (*make)(std::size_t count);
};

/// Keys of one length, in the order that `place` tells for each i.
template <class Place>
Keys numberedKeys(std::size_t count, std::string_view prefix, Place place) {
  Keys keys(count);
  for (std::size_t i = 0; i < count; ++i) {
    keys[i] = std::string(prefix) + std::to_string(10'000'000 + place(i));
  }
  return keys;
}

constexpr HostileKeys kHostileKeys[] = {
    {"random", randomKeys},
    {"ascending",
     [](std::size_t count) { return numberedKeys(count, "", [](std::size_t i) { return i; }); }},
    {"descending",
     [](std::size_t count) {
       return numberedKeys(count, "", [=](std::size_t i) { return count - i; });
     }},
    {"both ends",  // in turn
     [](std::size_t count) {
       return numberedKeys(count, "",
                           [=](std::size_t i) { return i % 2 == 0 ? i : 2 * count - i; });
     }},
    {"1 KB alike",  // at random, with equal beginnings
     [](std::size_t count) {
       return numberedKeys(count, std::string(1024, 'k'),
                           [](std::size_t i) { return i * 7'919'993 % 10'000'019; });
     }},
};

void addHostileKeys(const HostileKeys& hostile, std::size_t count) {
  const std::string subject = std::to_string(count);
  add("hostile-insert", subject, hostile.name, [=](benchmark::State& state) {
    measureMaking(state, count, [keys = hostile.make(count)] { return objectOf<Ours>(keys); });
  });
  add("hostile-lookup", subject, hostile.name,
      [=](benchmark::State& state) { lookup<Ours>(state, hostile.make(count)); });
}

// --- Registration --------------------------------------------------------------------------------

template <class P>
void addPeer(const std::vector<Document>& documents) {
  for (const Document& document : documents) {
    if (document.isToml == TomlPeer<P>) addDocument<P>(document);
  }
  if constexpr (KeyedPeer<P>) {
    if (documents.empty()) addContainers<P>();
  }
}

void addPeers(const std::vector<Document>& documents) {
  addPeer<Ours>(documents);
#ifdef BENCH_NLOHMANN
  addPeer<Nlohmann>(documents);
  addPeer<NlohmannCbor>(documents);
#endif
#ifdef BENCH_BOOST
  addPeer<Boost>(documents);
#endif
#ifdef BENCH_RAPIDJSON
  addPeer<RapidJson>(documents);
#endif
#ifdef BENCH_MSGPACK
  addPeer<Msgpack>(documents);
#endif
  addPeer<OurToml>(documents);
#ifdef BENCH_TOMLPLUSPLUS
  addPeer<TomlPlusPlus>(documents);
#endif
#ifdef BENCH_TOML11
  addPeer<Toml11>(documents);
#endif
}

int run(int argc, char** argv) {
  keepFreedMemory();
  benchmark::Initialize(&argc, argv);
  std::vector<Document> documents;
  for (int i = 1; i < argc; ++i) documents.push_back(readDocument(argv[i]));
  addPeers(documents);
  for (const Document& document : documents) {
    if (document.isToml) continue;
    addFormats(document);
    if (document.text.size() > kSmallDocument) continue;
    for (std::size_t size = 1000; size <= 100'000'000; size *= 10) addGrowth(document, size);
  }
  for (const HostileKeys& hostile : kHostileKeys) {
    if (!documents.empty()) break;
    for (const std::size_t count : {1000u, 10'000u, 100'000u}) addHostileKeys(hostile, count);
  }
  benchmark::RunSpecifiedBenchmarks();
  return EXIT_SUCCESS;
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  try {
    return bench::run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "vexo-bench: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
