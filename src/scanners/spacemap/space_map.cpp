#include "scanners/spacemap/space_map.h"

#include <algorithm>
#include <deque>
#include <unordered_map>
#include <utility>

#include "base/core.h"
#include "measure/tree_walker.h"

namespace dw::SpaceMap {

namespace {

// One counted entry, as one thread of the walk recorded it.
struct Record {
  const Record* parent = nullptr;  // none for the root
  std::string name;
  std::int64_t bytes = 0;  // its own allocated bytes until the sums are made
  int level = 0;
  // Its place in a one-thread walk: each listing position from the root down, as big-endian
  // bytes, so that comparing two of them as text gives the walk order.
  std::string order;
  size_t id = 0;  // its place in the merged table
};

std::string orderBelow(const std::string& parent, std::uint32_t index) {
  std::string order = parent;
  for (int shift = 24; shift >= 0; shift -= 8)
    order += static_cast<char>((index >> shift) & 0xff);
  return order;
}

// One thread's records. A record never moves once made (a deque only grows at its end), so a
// folder's tag is its record's address, and another thread that is handed the folder reads its
// order and nothing else. Below the deepest recorded level (a full walk) an entry makes no
// record: its bytes go to the recorded folder above it, and its folders pass that folder's tag
// on.
class Recorder final : public TreeWalker::Visitor {
 public:
  explicit Recorder(int recordedLevels) : recordedLevels_(recordedLevels) {}

  bool directory(const TreeWalker::Item& item, std::uint64_t& tag) override {
    if (item.level > recordedLevels_) {
      tag = item.parentTag;
      below(item.parentTag, TreeWalker::allocated(*item.stat));
      return true;
    }
    // A folder counts its own entry even when its blocks are 0.
    records.push_back(make(item, TreeWalker::allocated(*item.stat)));
    tag = reinterpret_cast<std::uint64_t>(&records.back());
    return true;
  }

  void entry(const TreeWalker::Item& item) override {
    std::int64_t bytes = TreeWalker::allocated(*item.stat);
    // Links are never followed and count their own blocks; a non-folder of 0 bytes is no node.
    if (bytes == 0 && item.level > 0) return;
    const bool manyNames =
        item.level > 0 && item.kind != TreeWalker::Kind::symlink && item.stat->st_nlink >= 2;
    if (item.level > recordedLevels_) {
      if (!manyNames) {
        below(item.parentTag, bytes);
        return;
      }
      // A deeper name of a linked file counts, if it is the first, in the recorded folder above
      // it: it stands just after that folder in walk order (all its names below one such folder
      // come between that folder and the next one, so which of them counts makes no difference).
      const auto* holder = reinterpret_cast<const Record*>(item.parentTag);
      Record r;
      r.parent = holder;
      r.bytes = bytes;
      r.level = recordedLevels_ + 1;
      r.order = holder->order + std::string(4, '\xff');
      linked.push_back({{item.stat->st_dev, item.stat->st_ino}, std::move(r)});
      return;
    }
    if (manyNames) {
      // Counted once; which of its names counts is settled after the walk: the first in walk
      // order, whichever thread met it.
      linked.push_back({{item.stat->st_dev, item.stat->st_ino}, make(item, bytes)});
      return;
    }
    records.push_back(make(item, bytes));
  }

  struct Linked {
    std::pair<dev_t, ino_t> identity;
    Record record;
  };
  std::deque<Record> records;
  std::vector<Linked> linked;
  // What this thread found below each recorded folder of the deepest level.
  std::unordered_map<const Record*, std::int64_t> deeper;

 private:
  void below(std::uint64_t tag, std::int64_t bytes) {
    const auto* holder = reinterpret_cast<const Record*>(tag);
    if (holder != lastHolder_) {
      lastHolder_ = holder;
      lastSum_ = &deeper[holder];
    }
    *lastSum_ += bytes;
  }

  static Record make(const TreeWalker::Item& item, std::int64_t bytes) {
    Record r;
    r.name = std::string(item.name);
    r.bytes = bytes;
    r.level = item.level;
    if (item.level > 0) {
      r.parent = reinterpret_cast<const Record*>(item.parentTag);
      r.order = orderBelow(r.parent->order, item.index);
    }
    return r;
  }

  int recordedLevels_;
  const Record* lastHolder_ = nullptr;
  std::int64_t* lastSum_ = nullptr;
};

struct PairHash {
  size_t operator()(const std::pair<dev_t, ino_t>& k) const noexcept {
    return std::hash<std::uint64_t>{}(static_cast<std::uint64_t>(k.second) ^
                                      (static_cast<std::uint64_t>(k.first) << 40));
  }
};

std::string lastComponent(const std::string& path) {
  size_t end = path.size();
  while (end > 0 && path[end - 1] == '/')
    --end;
  size_t start = path.rfind('/', end == 0 ? 0 : end - 1);
  start = start == std::string::npos ? 0 : start + 1;
  std::string name = end > start ? path.substr(start, end - start) : std::string();
  return name.empty() ? "/" : name;
}

std::string childPath(const std::string& parent, const std::string& name) {
  std::string path = parent;
  if (path.empty() || path.back() != '/') path += '/';
  return path + name;
}

struct Table {
  std::vector<const Record*> records;
  std::vector<std::vector<size_t>> children;
  std::vector<std::int64_t> bytes;
};

Node nodeOf(const Table& table, size_t id, std::string path, std::string name, int depth,
            int maxDepth, size_t childLimit) {
  Node node{std::move(name), std::move(path), table.bytes[id], {}};
  // Depth counts from 0 for the root's children: the root and maxDepth levels below it.
  if (depth + 1 >= maxDepth) return node;
  // Largest first; equal sizes keep the walk order, so one thread or two give one tree. Only
  // the children that stay are built; the rest are one sum.
  std::vector<size_t> order = table.children[id];
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t a, size_t b) { return table.bytes[a] > table.bytes[b]; });
  size_t kept = std::min(order.size(), childLimit);
  node.children.reserve(kept + 1);
  for (size_t i = 0; i < kept; ++i) {
    const std::string& childName = table.records[order[i]]->name;
    node.children.push_back(nodeOf(table, order[i], childPath(node.path, childName), childName,
                                   depth + 1, maxDepth, childLimit));
  }
  if (order.size() > kept) {
    Node other{"Other", node.path + "/.other", 0, {}};
    for (size_t i = kept; i < order.size(); ++i)
      other.bytes += table.bytes[order[i]];
    node.children.push_back(std::move(other));
  }
  return node;
}

}  // namespace

namespace {

Node walkAndBuild(const std::string& root, int maxDepth, size_t childLimit, std::stop_token stop,
                  unsigned threads, bool full) {
  std::string rootPath = root;
  while (rootPath.size() > 1 && rootPath.back() == '/')
    rootPath.pop_back();
  Node empty{lastComponent(rootPath), rootPath, 0, {}};

  const int levels = std::max(0, maxDepth);
  std::vector<Recorder> recorders;
  recorders.reserve(std::max(1u, threads));
  for (unsigned i = 0; i < std::max(1u, threads); ++i)
    recorders.emplace_back(levels);
  std::vector<TreeWalker::Visitor*> visitors;
  for (Recorder& r : recorders)
    visitors.push_back(&r);
  TreeWalker::Options options;
  options.threads = threads;
  // The quick map: a folder at the deepest level counts its own entry and is never listed. The
  // full one walks everything and records as deep.
  if (!full) options.listBelowLevel = levels;
  if (!TreeWalker::walk(rootPath, visitors, options, stop)) return empty;
  if (recorders[0].records.empty()) return empty;

  Table table;
  for (Recorder& r : recorders) {
    for (Record& record : r.records)
      table.records.push_back(&record);
  }
  // Each file with several names within reach counts under the name the walk meets first.
  std::unordered_map<std::pair<dev_t, ino_t>, const Record*, PairHash> firstName;
  for (Recorder& r : recorders) {
    for (const auto& l : r.linked) {
      auto [it, added] = firstName.emplace(l.identity, &l.record);
      if (!added && l.record.order < it->second->order) it->second = &l.record;
    }
  }
  for (const auto& [identity, record] : firstName)
    table.records.push_back(record);

  // Walk order throughout, so that the result does not depend on which thread met what.
  std::sort(table.records.begin(), table.records.end(),
            [](const Record* a, const Record* b) { return a->order < b->order; });
  table.children.resize(table.records.size());
  table.bytes.resize(table.records.size());
  for (size_t i = 0; i < table.records.size(); ++i) {
    const_cast<Record*>(table.records[i])->id = i;
    table.bytes[i] = table.records[i]->bytes;
  }
  for (Recorder& r : recorders) {
    for (const auto& [holder, bytes] : r.deeper)
      table.bytes[holder->id] += bytes;
  }
  for (size_t i = 1; i < table.records.size(); ++i)
    table.children[table.records[i]->parent->id].push_back(i);
  // Each entry's bytes count in every folder above it: deepest first, each adds to its parent.
  for (size_t i = table.records.size(); i-- > 1;) {
    std::int64_t bytes = table.bytes[i];
    table.bytes[table.records[i]->parent->id] += bytes;
  }
  throwIfCancelled(stop);
  return nodeOf(table, 0, rootPath, lastComponent(rootPath), -1, maxDepth, childLimit);
}

}  // namespace

Node build(const std::string& root, int maxDepth, size_t childLimit, std::stop_token stop,
           unsigned threads) {
  return walkAndBuild(root, maxDepth, childLimit, stop, threads, false);
}

Node buildFull(const std::string& root, int maxDepth, size_t childLimit, std::stop_token stop,
               unsigned threads) {
  return walkAndBuild(root, maxDepth, childLimit, stop, threads, true);
}

std::vector<Cell> layoutRow(const Node& node, double areaWidth) {
  std::vector<Cell> cells;
  std::int64_t total = 0;
  for (const Node& child : node.children) {
    if (child.bytes > 0) total += child.bytes;
  }
  total = std::max<std::int64_t>(total, 1);
  double x = 0;
  for (const Node& child : node.children) {
    if (child.bytes <= 0) continue;
    double width = std::max(
        kMinCellWidth, areaWidth * static_cast<double>(child.bytes) / static_cast<double>(total));
    cells.push_back({&child, x, width});
    x += width + kCellGap;
  }
  return cells;
}

}  // namespace dw::SpaceMap
