#include "project/handle_access.h"
#include "support/current_project.h"

#include <gtest/gtest.h>

namespace casebook {
namespace {

using test::CurrentProject;
using test::refusalOf;

constexpr auto cannotCopy = "Attempted to create or copy an invalid data entity (false)";
constexpr auto cannotUnlock = "Attempted to unlock an unknown data entity (true)";

using Count = void (Project::*)(u64) const;

/// One kind of handle: the project's operations on its locks, and how its entities are made.
template <class T, Count AddRef, Count Unlock, u64 (*Add)(Project&)>
struct Kind {
  using Handle = T;
  static constexpr Count addRef = AddRef, unlock = Unlock;
  static constexpr auto add = Add;
};

u64 addRecord(Project& p) { return p.addRecord().id(); }
u64 addVariable(Project& p) { return p.addVariable("", {}, {}, {}).id(); }
u64 addAuxFile(Project& p) { return p.addAuxFile(p.addRecord().id(), "f", "").id(); }
u64 addTagGroup(Project& p) { return p.addTagGroup(std::to_string(p.tagGroups().size())).id(); }
u64 addPathRegex(Project& p) { return p.addPathRegex("*", "").id(); }
u64 addVariableRegex(Project& p) { return p.addVariableRegex("*", Variable{1, NoLockRequired{}}).id(); }

using P = Project;
struct RecordKind : Kind<Record, &P::addRefRecord, &P::unlockRecord, addRecord> {};
struct VariableKind : Kind<Variable, &P::addRefVariable, &P::unlockVariable, addVariable> {};
struct AuxFileKind : Kind<AuxFile, &P::addRefAuxFile, &P::unlockAuxFile, addAuxFile> {};
struct TagGroupKind : Kind<TagGroup, &P::addRefTagGroup, &P::unlockTagGroup, addTagGroup> {};
struct PathRegexKind : Kind<Regex<std::string>, &P::addRefRegexTag, &P::unlockRegexTag, addPathRegex> {};
struct VariableRegexKind : Kind<Regex<Variable>, &P::addRefRegexVar, &P::unlockRegexVar, addVariableRegex> {};

/// A current project with two entities of the kind.
template <class T>
class Handles : public testing::Test {
 protected:
  CurrentProject const project_;
  u64 const first_ = T::add(*project_);
  u64 const second_ = T::add(*project_);

  /// Every handle of the project must be one of this entity.
  [[nodiscard]] u64 lockCount(u64 uid) const {
    u64 count = 0;
    for (; !project_->isCompletelyUnlocked() && count < 9; ++count) (*project_.*T::unlock)(uid);
    for (u64 i = 0; i < count; ++i) (*project_.*T::addRef)(uid);
    return count;
  }
  [[nodiscard]] static auto lock(u64 uid) { return WeakPtr<typename T::Handle>{uid}.lock(); }
};

using Kinds = testing::Types<RecordKind, VariableKind, AuxFileKind, TagGroupKind, PathRegexKind, VariableRegexKind>;
TYPED_TEST_SUITE(Handles, Kinds);

TYPED_TEST(Handles, CountWhileTheyLive) {
  using Handle = typename TypeParam::Handle;
  u64 const uid = this->first_;
  {
    Handle handle = this->lock(uid);
    Handle const copy{handle};
    EXPECT_TRUE(handle == copy);
    EXPECT_EQ(this->lockCount(uid), 2u);
    handle = copy;
    EXPECT_EQ(this->lockCount(uid), 2u);
    handle = Handle{0, NoLockRequired{}};
    EXPECT_FALSE(handle.valid());
    EXPECT_EQ(this->lockCount(uid), 1u);
    EXPECT_FALSE(Handle{handle} == copy);
  }
  EXPECT_EQ(refusalOf([&] { (*this->project_.*TypeParam::unlock)(99); }), cannotUnlock);
  EXPECT_TRUE(this->project_->isCompletelyUnlocked());
  auto const transaction = this->project_->startTransaction();
  EXPECT_FALSE(this->project_->isCompletelyUnlocked());
  EXPECT_EQ(refusalOf([] { HandleAccess::make<Handle>(99); }), cannotCopy);
}

TYPED_TEST(Handles, AssignmentThatFailsChangesNothing) {
  using Handle = typename TypeParam::Handle;
  Handle const gone{99, NoLockRequired{}};
  auto held = this->lock(this->first_);
  EXPECT_EQ(refusalOf([&] { held = gone; }), cannotCopy);
  EXPECT_EQ(this->lockCount(this->first_), 1u);
}

TYPED_TEST(Handles, OutliveTheirEntityAndTheirProject) {
  auto& p = *this->project_;
  auto orphans = std::vector(3, this->lock(this->second_));
  p.resetProject();
  EXPECT_EQ(refusalOf([&] { return std::vector{orphans[0]}; }), cannotCopy);
  while (TypeParam::add(p) < this->second_) continue;
  orphans.pop_back();
  EXPECT_TRUE(p.isCompletelyUnlocked()) << "another has the UID, and no handles";
  auto* const before = std::exchange(projectPtr, nullptr);
  orphans.clear();
  EXPECT_EQ(projectPtr, nullptr) << "a handle makes no project";
  projectPtr = before;
}

TEST(HandlesOfTagGroups, AreAcquiredByTheUidOfARecord) {
  CurrentProject const project;
  u64 const group = project->addTagGroup("g").id();
  u64 const record = project->addRecord().id();
  EXPECT_EQ(refusalOf([&] { HandleAccess::make<TagGroup>(group); }), cannotCopy);
  EXPECT_TRUE(project->isCompletelyUnlocked());
  EXPECT_EQ(HandleAccess::make<TagGroup>(record).getWeakPtr().id(), record);
  project->unlockRecord(record);  // the handle's end looked for a group
  EXPECT_TRUE(project->isCompletelyUnlocked());
}

// Changes go to the transaction's project, everything else to the current one.
TEST(HandlesBetweenProjects, ChangeWhereTheTransactionIs) {
  auto const other = createProject();
  CurrentProject const project;
  for (auto* p : {&*project, other.get()}) p->addRecord(), p->addVariable("x", {}, Variant::FloatingPoint, 1.5);
  auto transaction = other->startTransaction();
  auto record = WeakPtr<Record>{2}.lock(transaction);
  EXPECT_TRUE(project->isCompletelyUnlocked()) << "locked where the transaction is";
  auto const variable = WeakPtr<Variable>{3}.lock();
  record.setData(2.5, variable, transaction);
  record.deactivate(transaction);
  EXPECT_EQ(record.data(variable), Variant{1.5});
  EXPECT_TRUE(record.isActive());
  EXPECT_EQ(other->getRow(2)[1], Variant{2.5});
  EXPECT_FALSE(other->recordIsActive(2));
}

}  // namespace
}  // namespace casebook
