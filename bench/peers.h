// What the benchmark needs to know of every library that it compares: one traits struct each.
//
// A peer has a `Tree`, which owns all it holds, and the functions of one or more of the concepts
// below. Every library works with its default settings and the default allocation of the C library.
#ifndef VEXO_BENCH_PEERS_H
#define VEXO_BENCH_PEERS_H

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "toml_peers.h"
#include "vexo_variant/variant.h"

#ifdef BENCH_NLOHMANN
#include <nlohmann/json.hpp>
#endif
#ifdef BENCH_BOOST
#include <boost/json.hpp>
#endif
#ifdef BENCH_RAPIDJSON
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#endif
#ifdef BENCH_MSGPACK
#include <msgpack.hpp>
#endif

namespace bench {

/// A library that holds documents. `load` makes the tree of a text in whatever way.
template <class P>
concept Peer = requires(const std::string& text, const typename P::Tree& tree) {
  { P::kName } -> std::convertible_to<std::string_view>;
  { P::load(text) } -> std::same_as<typename P::Tree>;
};

/// `load` is its own JSON parser, `write` its compact writer. What `write` returns owns the text.
template <class P>
concept JsonPeer = Peer<P> && requires(const typename P::Tree& tree) {
  { P::text(P::write(tree)) } -> std::convertible_to<std::string_view>;
};

template <class P>
concept CopyPeer = Peer<P> && requires(const typename P::Tree& tree) {
  { P::copy(tree) } -> std::same_as<typename P::Tree>;
  { P::equal(tree, tree) } -> std::same_as<bool>;
};

/// Has a binary form; what `encode` returns owns the bytes.
template <class P>
concept BinaryPeer = Peer<P> && requires(const typename P::Tree& tree) {
  { P::decode(P::encode(tree)) } -> std::same_as<typename P::Tree>;
};

/// `load` is its TOML parser; `count` tells the values in a tree, the tree itself included.
template <class P>
concept TomlPeer = Peer<P> && requires(const typename P::Tree& tree) {
  { P::count(tree) } -> std::same_as<std::size_t>;
};

/// Finds members in less than linear time. Elements of `Object` and `Array` are integers here.
template <class P>
concept KeyedPeer = requires(typename P::Object object, typename P::Array array,
                             const std::string& key) {
  P::insert(object, key, std::int64_t{});
  { P::lookup(object, key) } -> std::same_as<std::int64_t>;
  P::append(array, std::int64_t{});
  P::visit(array, [](const auto& element) { P::number(element); });
};

[[noreturn]] inline void fail(std::string_view peer, std::string_view what) {
  throw std::runtime_error(std::string(peer) + ": " + std::string(what));
}

/// What a tree of ours is made of.
struct Census {
  std::size_t values = 0;
  std::size_t doubles = 0;

  Census() = default;
  explicit Census(const vexo::variant::Variant& tree) { add(tree); }

 private:
  void add(const vexo::variant::Variant& tree) {
    ++values;
    if (tree == vexo::variant::V_DOUBLE) ++doubles;
    if (tree != vexo::variant::V_MAP) return;
    std::for_each(tree.num_begin(), tree.num_end(), [&](const auto& m) { add(m.second); });
    std::for_each(tree.str_begin(), tree.str_end(), [&](const auto& m) { add(m.second); });
  }
};

/// What libraries have in common whose values are copied, compared and subscripted as usual.
template <class T, class O = T, class A = T>
struct Usual {
  using Tree = T;
  using Object = O;
  using Array = A;

  static const std::string& text(const std::string& written) { return written; }
  static Tree copy(const Tree& tree) { return tree; }
  static bool equal(const Tree& a, const Tree& b) { return a == b; }
  static void insert(Object& object, const std::string& key, std::int64_t value) {
    object[key] = value;
  }
  static void visit(const Array& array, auto f) {
    for (const Tree& element : array) f(element);
  }
};

struct Ours : Usual<vexo::variant::Variant> {
  static constexpr const char* kName = "vexo";

  static Tree load(const std::string& text) {
    Tree tree;
    if (tree.FromJSON(text) != static_cast<int>(text.size())) fail(kName, "text not read");
    return tree;
  }
  static std::string write(const Tree& tree) {
    std::string text;
    tree.ToJSON(text, false);
    return text;
  }

  struct Bytes {
    std::unique_ptr<std::uint8_t[]> data;
    std::uint32_t size;
  };
  static Bytes encode(const Tree& tree, auto bound, auto write) {
    const std::uint32_t room = (tree.*bound)();
    auto data = std::make_unique_for_overwrite<std::uint8_t[]>(room);
    const std::uint32_t size = (tree.*write)(data.get(), room);
    if (size == 0) fail(kName, "tree not encoded");
    return {std::move(data), size};
  }
  static Bytes encode(const Tree& tree) {
    return encode(tree, &Tree::GetBinRequiredLength, &Tree::ToInternalBIN);
  }
  static Tree decode(const Bytes& bytes) {
    Tree tree;
    if (tree.FromBIN(bytes.data.get(), bytes.size) == 0) fail(kName, "bytes not read");
    return tree;
  }

  static std::int64_t lookup(const Tree& object, const std::string& key) { return object[key]; }
  static void append(Tree& array, std::int64_t value) { array[-1] = value; }
  static void visit(const Tree& array, auto f) {
    const auto end = array.num_end();
    for (auto i = array.num_begin(); i != end; ++i) f(i->second);
  }
  static std::int64_t number(const Tree& value) { return value; }
};

// --- Our other formats ---

struct Json : Ours {
  static constexpr const char* kName = "json";
};

struct Kvp {
  static constexpr const char* kName = "kvp";

  static Ours::Tree load(const std::string& text) {
    Ours::Tree tree;
    if (!tree.FromKVP(text, false, false, true)) fail(kName, "text not read");
    return tree;
  }
  static std::string write(const Ours::Tree& tree) {
    std::string text;
    if (!tree.ToKVP(text, "=", "\n")) fail(kName, "tree not written");
    return text;
  }
};

struct Bin : Ours {
  static constexpr const char* kName = "bin";
};

struct Amf {
  static constexpr const char* kName = "amf";

  static Ours::Bytes encode(const Ours::Tree& tree) {
    return Ours::encode(tree, &Ours::Tree::GetAMFRequiredLength, &Ours::Tree::ToInternalAMF);
  }
};

struct OurToml {
  static constexpr const char* kName = Ours::kName;
  using Tree = Ours::Tree;

  static Tree load(const std::string& text) {
    Tree tree;
    if (!tree.FromTOML(text)) fail(kName, "text not read");
    return tree;
  }
  static std::size_t count(const Tree& tree) { return Census(tree).values; }
};

// --- Peers ---

#ifdef BENCH_NLOHMANN
struct Nlohmann : Usual<nlohmann::json> {
  static constexpr const char* kName = "nlohmann";

  static Tree load(const std::string& text) { return Tree::parse(text); }
  static std::string write(const Tree& tree) { return tree.dump(); }
  static std::vector<std::uint8_t> encode(const Tree& tree) { return Tree::to_msgpack(tree); }
  static Tree decode(const std::vector<std::uint8_t>& bytes) { return Tree::from_msgpack(bytes); }

  static std::int64_t lookup(const Tree& object, const std::string& key) {
    return number(object.at(key));
  }
  static void append(Tree& array, std::int64_t value) { array.push_back(value); }
  static std::int64_t number(const Tree& value) { return value.get<std::int64_t>(); }
};
#endif

#ifdef BENCH_NLOHMANN
struct NlohmannCbor {
  static constexpr const char* kName = "cbor";
  using Tree = nlohmann::json;

  static Tree load(const std::string& text) { return Tree::parse(text); }
  static std::vector<std::uint8_t> encode(const Tree& tree) { return Tree::to_cbor(tree); }
  static Tree decode(const std::vector<std::uint8_t>& bytes) { return Tree::from_cbor(bytes); }
};
#endif

#ifdef BENCH_BOOST
struct Boost : Usual<boost::json::value, boost::json::object, boost::json::array> {
  static constexpr const char* kName = "boost";

  static Tree load(const std::string& text) { return boost::json::parse(text); }
  static std::string write(const Tree& tree) { return boost::json::serialize(tree); }

  static std::int64_t lookup(const Object& object, const std::string& key) {
    return number(object.at(key));
  }
  static void append(Array& array, std::int64_t value) { array.emplace_back(value); }
  static std::int64_t number(const Tree& value) { return value.get_int64(); }
};
#endif

#ifdef BENCH_RAPIDJSON
/// With the allocator that releases every value on its own: the default, a pool for a whole
/// document, never gives back what a change leaves behind.
struct RapidJson {
  static constexpr const char* kName = "rapidjson";
  using Allocator = rapidjson::CrtAllocator;
  using Tree = rapidjson::GenericDocument<rapidjson::UTF8<>, Allocator, Allocator>;

  static Tree load(const std::string& text) {
    Tree tree;
    if (tree.Parse(text.data(), text.size()).HasParseError()) fail(kName, "text not read");
    return tree;
  }
  static rapidjson::StringBuffer write(const Tree& tree) {
    rapidjson::StringBuffer text;
    rapidjson::Writer writer(text);
    tree.Accept(writer);
    return text;
  }
  static std::string_view text(const rapidjson::StringBuffer& written) {
    return {written.GetString(), written.GetSize()};
  }

  static Tree copy(const Tree& tree) {
    Tree result;
    result.CopyFrom(tree, result.GetAllocator());
    return result;
  }
  static bool equal(const Tree& a, const Tree& b) { return a == b; }
};
#endif

#ifdef BENCH_MSGPACK
/// Only its binary form is compared; the bytes to begin with come from another peer.
struct Msgpack {
  static constexpr const char* kName = "msgpack";
  using Tree = msgpack::object_handle;

  static Tree load(const std::string& text) {
    const auto bytes = Nlohmann::encode(Nlohmann::load(text));
    return msgpack::unpack(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  }
  static msgpack::sbuffer encode(const Tree& tree) {
    msgpack::sbuffer bytes;
    msgpack::pack(bytes, tree.get());
    return bytes;
  }
  static Tree decode(const msgpack::sbuffer& bytes) {
    return msgpack::unpack(bytes.data(), bytes.size());
  }
};
#endif

}  // namespace bench

#endif
