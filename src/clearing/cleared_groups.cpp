#include "clearing/cleared_groups.h"

#include <algorithm>
#include <map>

namespace dw::ClearedLog {

std::vector<Group> groupBySession(const std::vector<Entry>& entries) {
  std::vector<Group> groups;
  std::map<std::string, size_t> index;
  for (const auto& e : entries) {
    auto [it, added] = index.try_emplace(e.sessionID, groups.size());
    if (added) groups.push_back(Group{e.sessionID, e.date, 0, {}});
    Group& g = groups[it->second];
    g.latest = std::max(g.latest, e.date);
    g.bytes += e.bytes;
    g.entries.push_back(e);
  }
  std::stable_sort(groups.begin(), groups.end(),
                   [](const Group& a, const Group& b) { return a.latest > b.latest; });
  return groups;
}

}  // namespace dw::ClearedLog
