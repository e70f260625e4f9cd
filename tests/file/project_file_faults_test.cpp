#include "file_testing.h"

#include <stdexcept>

namespace casebook {

namespace {

/// One thing that a host does, and what it does to the project.
struct Step {
  enum Kind { Edit, EditThatThrows, Undo, Redo, Outside, Flush };
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
    {Step::Undo, {}},
    {Step::Undo, {}},
    {Step::Redo, {}},
    {Step::Edit, addCase},
    {Step::Edit, describeIt(longText)},
    {Step::Edit, describeIt("")},  // behind which there is a checkpoint
};

/// The changes that a file should hold, and those that wait.
class Model {
 public:
  [[nodiscard]] std::string content(std::vector<Change> const& more = {}) const {
    TestProject project;
    for (auto const* list : {&held_, &more}) {
      for (auto const& change : *list) {
        auto transaction = project->startTransaction();
        change(transaction);
        transaction.commit();
      }
    }
    return project.content();
  }

  void wait(Change const& change) { waiting.push_back(change); }
  void holdWaiting(std::size_t first) {
    auto const end = waiting.begin() + static_cast<std::ptrdiff_t>(first);
    held_.insert(held_.end(), waiting.begin(), end);
    waiting.erase(waiting.begin(), end);
    if (first > 0) undone_.clear();
  }

  void hold(Change const& change) {
    held_.push_back(change);
    undone_.clear();
  }
  void undo() { move(held_, undone_); }
  void redo() { move(undone_, held_); }

  std::vector<Change> waiting;

 private:
  static void move(std::vector<Change>& from, std::vector<Change>& to) {
    if (from.empty()) return;
    to.push_back(from.back());
    from.pop_back();
  }

  std::vector<Change> held_;
  std::vector<Change> undone_;
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
    case Step::Undo: file.undo(); return;
    case Step::Redo: file.redo(); return;
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
    EXPECT_EQ(contentIn(path_), model_.content()) << message;
    EXPECT_TRUE(!file_->isOpen() || project_.content() == model_.content(model_.waiting)) << message;
    if (step.kind == Step::Outside) return;
    bool const saysClosed = message.find(" is closed: ") != std::string::npos;
    bool const noCheckpoint = system_.andAllLater && message.empty();  // and none could be cut off
    EXPECT_TRUE(file_->isOpen() ? !saysClosed : saysClosed || noCheckpoint) << message;
  }

  /// Whether the fault is one that nobody should notice.
  [[nodiscard]] bool interrupted() const {
    return system_.error == EINTR && system_.failed() &&
           system_.calls[static_cast<std::size_t>(system_.failAt) - 1] != 's';
  }

  /// Takes into the model what the file should hold by now. Where a step failed, what waited before it may be there,
  /// or the first of it; where that is said to be unknown, the step too.
  void account(Step const& step, std::string const& message) {
    auto const now = contentIn(path_);
    auto whole = model_;
    whole.holdWaiting(whole.waiting.size());
    take(step.kind == Step::EditThatThrows ? Step{Step::Flush, {}} : step, whole);
    bool const isThere = message.empty() || step.kind == Step::EditThatThrows;
    if (isThere || (message.find("is not known") != std::string::npos && now == whole.content())) {
      model_ = whole;
      return;
    }
    for (auto n = model_.waiting.size(); n > 0; --n) {
      auto some = model_;
      some.holdWaiting(n);
      if (now == some.content()) return void(model_ = some);
    }
  }

  static void take(Step const& step, Model& model) {
    switch (step.kind) {
      case Step::Edit: return model.hold(step.change);
      case Step::Undo: return model.undo();
      case Step::Redo: return model.redo();
      case Step::EditThatThrows:
      case Step::Outside:
      case Step::Flush: return;
    }
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
    EXPECT_EQ(contentIn(path_), model_.content()) << message;
    EXPECT_EQ(again.content(), file ? model_.content() : Model{}.content()) << message;
    if (!file) return;
    EXPECT_EQ(contentOf(tailOf(*file).keptAside).size(), 100U);
    auto const failed = messageOf([&] { file->edit("edit", steps[0].change); });
    EXPECT_TRUE(!failed.empty() || contentIn(path_) == again.content()) << failed;
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
  EXPECT_EQ(callsOf([&] { file.undo(3); }), "ws");
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
