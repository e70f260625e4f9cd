#include "auxtags/file_tags.h"

#include "auxtags/aux_files.h"

#include <algorithm>
#include <queue>

namespace casebook {

bool FileTags::Carriers::firstIsImage() const noexcept {
  return !images.empty() && (others.empty() || *images.begin() < *others.begin());
}

std::vector<std::string> FileTags::tagsOf(DataAuxFile const& file) {
  if (!file.tag.empty()) return {file.tag};
  refresh();
  auto const& rules = files_.at(file.id).rules;
  std::vector<std::string> tags;
  tags.reserve(rules.size());
  for (auto const* rule : rules) tags.push_back(rule->source->target);
  std::ranges::sort(tags);
  auto const repeated = std::ranges::unique(tags);
  tags.erase(repeated.begin(), repeated.end());
  return tags;
}

bool FileTags::hasTag(DataAuxFile const& file, std::string const& tag) {
  if (file.tag == tag) return true;
  if (!file.tag.empty()) return false;
  refresh();
  return std::ranges::any_of(files_.at(file.id).rules, [&](Rule const* rule) { return rule->source->target == tag; });
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
  table_.reset();
  claimed_.reset();
  stale_.markEverything();
}

// Files enter and leave the sorted lists of carriers one by one, each of which moves what is behind it; where some
// hundreds of many files do, beginning anew takes less.
void FileTags::refresh() {
  if (!stale_.filesOrRules()) return;
  try {
    if (stale_.everything() || stale_.files().size() > files_.size() / 256 + 16) {
      refreshAll();
    } else {
      for (u64 const uid : stale_.files()) refreshFile(uid);
      for (u64 const uid : stale_.rules()) refreshRule(uid);
    }
  } catch (...) {
    clear();
    throw;
  }
  stale_.settleFilesAndRules();
}

void FileTags::refreshAll() {
  clear();
  files_.reserve(store_.auxFiles.size());
  for (auto const& rule : store_.pathRegexs.all()) enter(rule);
  for (auto const& file : store_.auxFiles.all()) enter(file);
}

void FileTags::refreshFile(u64 uid) {
  leave(uid);
  if (auto const* const file = store_.auxFiles.find(uid)) enter(*file);
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
  for (auto const& file : store_.auxFiles.all())
    if (file.tag.empty() && rule.wildcard.matches(WildcardText{file.path})) match(file.id, files_.at(file.id), rule);
}

void FileTags::enter(DataAuxFile const& file) {
  bool const image = fileMatchesWildcards(file.path, imageExtensions());
  auto const own = file.tag.empty() ? ownTags_.end() : ownTags_.try_emplace(file.tag).first;
  auto& entered = files_.emplace(file.id, File{image, own, {}}).first->second;
  if (own != ownTags_.end()) {
    own->second.of(image).insert(file.id);
    return;
  }
  if (!table_) makeTable();
  table_->forEachMatch(file.path, [&](std::size_t number) { match(file.id, entered, *inTable_[number]); });
}

void FileTags::match(u64 uid, File& file, Rule& rule) {
  file.rules.push_back(&rule);
  auto& carriers = rule.carriers.of(file.image);
  carriers.insert(carriers.end(), uid);
  if (file.image && (rule.claimer == 0 || rule.claimer > uid)) claimed_.reset();
}

void FileTags::leave(u64 uid) {
  auto const found = files_.find(uid);
  if (found == files_.end()) return;
  auto& [image, own, rules] = found->second;
  if (own != ownTags_.end()) {
    own->second.of(image).erase(uid);
    if (own->second.empty()) ownTags_.erase(own);
  }
  for (auto* const rule : rules) {
    rule->carriers.of(image).erase(uid);
    if (rule->claimer == uid) claimed_.reset();
  }
  files_.erase(found);
}

FileTags::Rule& FileTags::enter(DataPathRegex const& rule) {
  table_.reset();
  return *rules_.emplace(rule.id, std::make_unique<Rule>(Rule{&rule, Wildcard{rule.expression}, {}})).first->second;
}

void FileTags::leave(RuleMap::iterator rule) {
  table_.reset();
  for (bool const image : {true, false})
    for (u64 const uid : rule->second->carriers.of(image)) std::erase(files_.at(uid).rules, rule->second.get());
  rules_.erase(rule);
}

void FileTags::makeTable() {
  std::vector<Wildcard const*> patterns;
  inTable_.clear();
  for (auto const& [uid, rule] : rules_) {
    inTable_.push_back(rule.get());
    patterns.push_back(&rule->wildcard);
  }
  table_.emplace(std::move(patterns));
}

}  // namespace casebook
