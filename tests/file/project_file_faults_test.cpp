#include "file_testing.h"

#include <stdexcept>

namespace casebook {

namespace {

/// One thing that a host does, and what it does to the project.
struct Step {
  enum Kind { Edit, EditThatThrows, Outside, Flush };
  Kind kind;
  Change change;
};

std::vector<Step> const steps = {
    {Step::Edit, nameIt("one")},
    {Step::Edit, addCase},
    {Step::Outside, [](Transaction& t) { t->setRootPath("/data"); }},
    {Step::Outside, addCase},
    {Step::Flush, {}},
    {Step::EditThatThrows, addCase},
    {Step::Outside, addCase},
    {Step::Edit, nameIt("two")},
    {Step::Edit, addCase},
};

/// The changes that a file should hold, and those that wait.
class Model {
 public:
  [[nodiscard]] std::string state(std::vector<Change> const& more = {}) const {
    TestProject project;
    for (auto const* list : {&held_, &more}) {
      for (auto const& change : *list) {
        auto transaction = project->startTransaction();
        change(transaction);
        transaction.commit();
      }
    }
    return project.state();
  }

  void wait(Change const& change) { waiting.push_back(change); }
  void holdWaiting(std::size_t first) {
    auto const end = waiting.begin() + static_cast<std::ptrdiff_t>(first);
    held_.insert(held_.end(), waiting.begin(), end);
    waiting.erase(waiting.begin(), end);
  }

  std::vector<Change> waiting;

 private:
  std::vector<Change> held_;
};

void perform(ProjectFile& file, Project& project, Step const& step) {
  switch (step.kind) {
    case Step::Edit: file.edit("edit", step.change); return;
    case Step::EditThatThrows:
      file.edit("edit", [&](Transaction& transaction) {
        step.change(transaction);
        throw std::runtime_error("no");
      });
      return;
    case Step::Outside: {
      auto transaction = project.startTransaction();
      step.change(transaction);
      transaction.commit();
      return;
    }
    case Step::Flush: file.flush();
  }
}

struct Fault {
  char const* name;
  int error;
  bool halfWritten;
  bool andAllLater;
};

/// A host at work while one call of the file system fails: after each step the file must hold what was acknowledged,
/// and the project what the file holds and what waits.
class Host {
 public:
  Host(Fault const& fault, long failAt) {
    system_.failAt = failAt;
    system_.error = fault.error;
    system_.halfWritten = fault.halfWritten;
    system_.andAllLater = fault.andAllLater;
  }

  /// Whether the call that fails was reached.
  bool reaches() {
    if (create()) {
      for (auto const& step : steps) take(step);
      reopen();
    }
    return system_.failed();
  }

 private:
  bool create() {
    auto const message =
        messageOf([&] { file_ = std::make_unique<ProjectFile>(ProjectFile::create(path_, *project_, with(system_))); });
    if (file_) return true;
    EXPECT_EQ(message.substr(0, 7), "Cannot ") << message;
    EXPECT_TRUE(system_.andAllLater || !std::filesystem::exists(path_)) << message;
    return false;
  }

  void take(Step const& step) {
    bool const wasOpen = file_->isOpen();
    auto const message = messageOf([&] { perform(*file_, *project_, step); });
    if (wasOpen && step.kind == Step::Outside) model_.wait(step.change);
    if (wasOpen && step.kind != Step::Outside) account(step, message);
    EXPECT_TRUE(!interrupted() || message == (step.kind == Step::EditThatThrows ? "no" : "")) << message;
    EXPECT_EQ(stateIn(path_), model_.state()) << message;
    EXPECT_TRUE(!file_->isOpen() || project_.state() == model_.state(model_.waiting)) << message;
    if (step.kind == Step::Outside) return;
    EXPECT_EQ(file_->isOpen(), message.find(" is closed: ") == std::string::npos) << message;
  }

  /// Whether the fault is one that nobody should notice.
  [[nodiscard]] bool interrupted() const {
    return system_.error == EINTR && system_.failed() &&
           system_.calls[static_cast<std::size_t>(system_.failAt) - 1] != 's';
  }

  /// Takes into the model what the file should hold by now. Where an edit failed, what waited before it may be there,
  /// or the first of it; where that is said to be unknown, the edit too.
  void account(Step const& step, std::string const& message) {
    auto all = model_.waiting;
    if (step.kind == Step::Edit) all.push_back(step.change);
    auto const now = stateIn(path_);
    if (message.empty() || (message.find("is not known") != std::string::npos && now == model_.state(all))) {
      model_.waiting = all;
      model_.holdWaiting(all.size());
      return;
    }
    for (auto some = model_.waiting; !some.empty(); some.pop_back())
      if (now == model_.state(some)) return model_.holdWaiting(some.size());
  }

  /// Opens the file again behind a write that was cut off, and goes on.
  void reopen() {
    file_->close();
    auto content = contentOf(path_);
    content.resize(content.size() + 100);
    setContent(path_, content);
    TestProject again;
    std::unique_ptr<ProjectFile> file;
    auto const message =
        messageOf([&] { file = std::make_unique<ProjectFile>(ProjectFile::open(path_, *again, with(system_))); });
    EXPECT_EQ(stateIn(path_), model_.state()) << message;
    EXPECT_EQ(again.state(), file ? model_.state() : Model{}.state()) << message;
    if (!file) return;
    EXPECT_EQ(contentOf(tailOf(*file).keptAside).size(), 100U);
    auto const failed = messageOf([&] { file->edit("edit", steps[0].change); });
    EXPECT_TRUE(!failed.empty() || stateIn(path_) == again.state()) << failed;
  }

  TemporaryFolder folder_;
  std::filesystem::path const path_ = folder_ / "a.casebook";
  FaultyFileSystem system_;
  TestProject project_;
  std::unique_ptr<ProjectFile> file_;
  Model model_;
};

TEST(ProjectFileFaults, WhateverCallFailsTheFileHoldsWhatWasAcknowledged) {
  for (auto const& fault : {Fault{"a full disk", ENOSPC, false, false}, Fault{"half a write", ENOSPC, true, false},
                            Fault{"a broken disk", EIO, true, true}, Fault{"a signal", EINTR, false, false}}) {
    long n = 1;
    while (Host{fault, n}.reaches()) {
      if (::testing::Test::HasFailure()) FAIL() << fault.name << ", call " << n;
      ++n;
    }
    EXPECT_GT(n, 30) << fault.name;
  }
}

// Letters of FaultyFileSystem. What survives a loss of power depends on this order.
TEST(ProjectFileFaults, EachStepIsOnTheDiskBeforeTheNext) {
  TemporaryFolder const folder;
  FaultyFileSystem system;
  TestProject project;
  auto file = ProjectFile::create(folder / "a", *project, with(system));
  auto const callsOf = [&](auto const& action) {
    system.calls.clear();
    messageOf(action);
    std::erase_if(system.calls, [](char call) { return call == 'r' || call == 'z'; });
    return system.calls;
  };
  auto const edit = [&] { file.edit("edit", addCase); };
  EXPECT_EQ(system.calls, "olwspd");
  EXPECT_EQ(callsOf(edit), "ws");
  for (int k = 0; k < 3; ++k) perform(file, *project, {Step::Outside, addCase});
  EXPECT_EQ(callsOf([&] { file.flush(); }), "wswsws");
  system.failAt = 1;
  EXPECT_EQ(callsOf(edit), "wts");
  system.failAt = 2;
  EXPECT_EQ(callsOf(edit), "wst");
  system.failAt = 0;
  std::ofstream{folder / "a", std::ios::app} << "torn";
  EXPECT_EQ(callsOf([&] {
              TestProject again;
              ProjectFile::open(folder / "a", *again, with(system));
            }),
            "olowspdts");
}

}  // namespace

}  // namespace casebook
