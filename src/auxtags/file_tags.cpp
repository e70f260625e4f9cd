#include "auxtags/file_tags.h"

#include "auxtags/aux_files.h"
#include "platform/wildcard_table.h"

#include <algorithm>
#include <queue>

namespace casebook {

namespace {

/// Files lie scattered, and a visit reads three or four places of each: those of the files that follow are on their way
/// from memory meanwhile.
void forEachFile(Store const& store, auto const& visit) {
  constexpr std::size_t ahead = 8;
  std::vector<DataAuxFile const*> files;
  files.reserve(store.auxFiles.size());
  store.auxFiles.forEach([&](u64, DataAuxFile const* file) { files.push_back(file); });
  for (std::size_t k = 0; k < files.size(); ++k) {
    if (k + 2 * ahead < files.size()) {
      __builtin_prefetch(&files[k + 2 * ahead]->path);
      __builtin_prefetch(&files[k + 2 * ahead]->tag);
    }
    if (k + ahead < files.size()) {
      std::string_view const path = files[k + ahead]->path;
      __builtin_prefetch(path.data());
      __builtin_prefetch(path.data() + path.size());
    }
    visit(*files[k]);
  }
}

}  // namespace

bool FileTags::Carriers::firstIsImage() const noexcept {
  return !images.empty() && (others.empty() || *images.begin() < *others.begin());
}

// Where nothing is stale the file itself, which is seldom in the cache, need not be read.
std::vector<std::string> FileTags::tagsOf(u64 uid) {
  if (stale_.filesOrRules()) {
    auto const& file = store_.auxFiles.at(uid);
    if (!file.tag.empty()) return {file.tag};
    refresh();
  }
  auto* const known = files_.find(uid);
  if (!known) refuseUnknownEntity();
  auto& [kind, shared] = *known;
  if (kind.own) return {kind.own->first};
  if (!shared.findings) shared.findings = targetsOf(kind.rules);
  return *shared.findings;
}

std::vector<std::string> FileTags::targetsOf(std::vector<Rule*> const& rules) {
  std::set<std::string> targets;
  for (auto const* rule : rules) targets.insert(rule->source->target);
  return {targets.begin(), targets.end()};
}

bool FileTags::hasTag(DataAuxFile const& file, std::string const& tag) {
  if (file.tag == tag) return true;
  if (!file.tag.empty()) return false;
  refresh();
  return std::ranges::any_of(files_.kindOf(file.id).rules,
                             [&](Rule const* rule) { return rule->source->target == tag; });
}

FileTags::Uids FileTags::filesWith(std::string const& tag) {
  refresh();
  Uids files;
  auto const take = [&](Carriers const& carriers) {
    for (auto const* uids : {&carriers.images, &carriers.others})
      files.insert(boost::container::ordered_unique_range, uids->begin(), uids->end());
  };
  if (auto const own = ownTags_.find(tag); own != ownTags_.end()) take(own->second);
  for (auto const& [uid, rule] : rules_)
    if (rule->source->target == tag) take(rule->carriers);
  if (tag.empty())
    for (auto const& file : store_.auxFiles.all())
      if (file.tag.empty()) files.insert(files.end(), file.id);
  return files;
}

std::set<std::string> FileTags::tags() {
  refresh();
  std::set<std::string> tags;
  for (auto const& [tag, carriers] : ownTags_) tags.insert(tags.end(), tag);
  for (auto const& [uid, rule] : rules_) tags.insert(rule->source->target);
  return tags;
}

std::set<std::string> FileTags::imageTags() {
  refresh();
  auto tags = claimedTags();
  for (auto const& [tag, carriers] : ownTags_)
    if (carriers.firstIsImage()) tags.insert(tag);
  return tags;
}

bool FileTags::isImageTag(std::string const& tag) {
  refresh();
  auto const own = ownTags_.find(tag);
  return (own != ownTags_.end() && own->second.firstIsImage()) || claimedTags().contains(tag);
}

// Each rule waits for the first image file that matches it. Taken by file and then by rule, the first rule to come up
// for a file is claimed by it; the others wait for their next file.
std::set<std::string> const& FileTags::claimedTags() {
  if (claimed_) return *claimed_;
  using Turn = std::pair<u64, RuleMap::iterator>;
  auto const later = [](Turn const& a, Turn const& b) {
    return std::pair{a.first, a.second->first} > std::pair{b.first, b.second->first};
  };
  std::priority_queue<Turn, std::vector<Turn>, decltype(later)> turns{later};
  auto const wait = [&](RuleMap::iterator rule, u64 after) {
    auto const& images = rule->second->carriers.images;
    if (auto const next = images.upper_bound(after); next != images.end()) turns.emplace(*next, rule);
  };
  for (auto rule = rules_.begin(); rule != rules_.end(); ++rule) {
    rule->second->claimer = 0;
    wait(rule, 0);
  }
  std::set<std::string> claimed;
  for (u64 claimer = 0; !turns.empty();) {
    auto const [file, rule] = turns.top();
    turns.pop();
    if (file == claimer) {
      wait(rule, file);
    } else {
      claimed.insert(rule->second->source->target);
      rule->second->claimer = claimer = file;
    }
  }
  return claimed_.emplace(std::move(claimed));
}

void FileTags::clear() noexcept {
  files_.clear();
  ownTags_.clear();
  rules_.clear();
  claimed_.reset();
  stale_.markEverything();
}

void FileTags::refresh() {
  if (!stale_.filesOrRules()) return;
  try {
    refreshStale();
  } catch (...) {
    clear();
    throw;
  }
  stale_.settleFilesAndRules();
}

// Files enter and leave the sorted lists of carriers one by one, each of which moves what is behind it, and each rule
// goes through all files; where some hundreds of many files do, or many rules, beginning anew takes less.
void FileTags::refreshStale() {
  constexpr std::size_t mostRules = 32;
  auto rules = stale_.rules();
  std::ranges::sort(rules);
  auto const repeated = std::ranges::unique(rules);
  rules.erase(repeated.begin(), repeated.end());
  bool const many = rules.size() > mostRules || stale_.files().size() > store_.auxFiles.size() / 256 + 16;
  if (many || stale_.everything()) return refreshAll();
  for (u64 const uid : stale_.files()) refreshFile(uid);
  if (!rules.empty()) files_.forgetFindings();
  for (u64 const uid : rules) refreshRule(uid);
}

void FileTags::refreshAll() {
  clear();
  std::vector<Rule*> rules;
  std::vector<Wildcard const*> patterns;
  for (auto const& source : store_.pathRegexs.all()) {
    rules.push_back(&enter(source));
    patterns.push_back(&rules.back()->wildcard);
  }
  WildcardTable table{std::move(patterns)};
  forEachFile(store_, [&](DataAuxFile const& file) {
    enter(file,
          [&](auto const& take) { table.forEachMatch(file.path, [&](std::size_t number) { take(rules[number]); }); });
  });
}

// To make a table of the rules for single files would take longer than to try each rule.
void FileTags::refreshFile(u64 uid) {
  leave(uid);
  auto const* const file = store_.auxFiles.find(uid);
  if (!file) return;
  enter(*file, [&](auto const& take) {
    WildcardText const path{file->path};
    for (auto const& [number, rule] : rules_)
      if (rule->wildcard.matches(path)) take(rule.get());
  });
}

// The files have been looked at before.
void FileTags::refreshRule(u64 uid) {
  claimed_.reset();
  auto const* const source = store_.pathRegexs.find(uid);
  auto const known = rules_.find(uid);
  if (known != rules_.end()) {
    if (source && known->second->wildcard.pattern() == source->expression) {
      known->second->source = source;
      return;
    }
    leave(known);
  }
  if (!source) return;
  auto& rule = enter(*source);
  forEachFile(store_, [&](DataAuxFile const& file) {
    if (!file.tag.empty() || !rule.wildcard.matches(WildcardText{file.path})) return;
    kind_ = files_.kindOf(file.id);
    kind_.rules.push_back(&rule);
    files_.put(file.id, kind_);
    carry(file.id, rule);
  });
}

template <class ForEachMatch>
void FileTags::enter(DataAuxFile const& file, ForEachMatch const& forEachMatch) {
  kind_.image = fileMatchesWildcards(file.path, imageExtensions());
  kind_.own = file.tag.empty() ? nullptr : &*ownTags_.try_emplace(file.tag).first;
  kind_.rules.clear();
  if (kind_.own) kind_.own->second.of(kind_.image).insert(file.id);
  else forEachMatch([this](Rule* rule) { kind_.rules.push_back(rule); });
  files_.put(file.id, kind_);
  for (auto* const rule : kind_.rules) carry(file.id, *rule);
}

void FileTags::carry(u64 uid, Rule& rule) {
  auto& carriers = rule.carriers.of(kind_.image);
  carriers.insert(carriers.end(), uid);
  if (kind_.image && (rule.claimer == 0 || rule.claimer > uid)) claimed_.reset();
}

void FileTags::leave(u64 uid) {
  auto const* const known = files_.find(uid);
  if (!known) return;
  auto const& [image, own, rules] = kind_ = known->first;
  files_.remove(uid);
  if (own) {
    own->second.of(image).erase(uid);
    if (own->second.empty()) ownTags_.erase(ownTags_.find(own->first));
  }
  for (auto* const rule : rules) {
    rule->carriers.of(image).erase(uid);
    if (rule->claimer == uid) claimed_.reset();
  }
}

FileTags::Rule& FileTags::enter(DataPathRegex const& rule) {
  return *rules_.emplace(rule.id, std::make_unique<Rule>(Rule{&rule, Wildcard{rule.expression}, {}})).first->second;
}

void FileTags::leave(RuleMap::iterator rule) {
  for (bool const image : {true, false})
    for (u64 const uid : rule->second->carriers.of(image)) {
      kind_ = files_.kindOf(uid);
      std::erase(kind_.rules, rule->second.get());
      files_.put(uid, kind_);
    }
  rules_.erase(rule);
}

}  // namespace casebook
