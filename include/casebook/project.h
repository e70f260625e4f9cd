#pragma once

#include <casebook/connection.h>
#include <casebook/export.h>
#include <casebook/filesystem.h>
#include <casebook/transaction.h>
#include <casebook/variable_enums.h>
#include <casebook/variant.h>
#include <casebook/weak_ptr.h>

#include <functional>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace boost {
template <class T>
class shared_ptr;
}

namespace casebook {

namespace Journal {
class Transaction;
class TransactionWriter;
struct Checkpoint;
enum class Direction : std::uint32_t;
}  // namespace Journal

class AuxFile;
class AuxFileCollectionInterface;
class Record;
class TagGroup;
class Variable;
template <class Target>
class CASEBOOK_EXPORT Regex;  // clang takes a template's visibility from its first declaration

struct Components;
struct ColumnInfo;
struct MergeInfo;
struct MergeState;
struct TransactionRecord;
enum class MergeMethod : std::uint32_t;

/// The face of one project: a table of cases (records) by variables, with files, tags and rules around it.
///
/// Changes are made inside a Transaction; the end of the outermost one carries out deletions, refreshes derived
/// values and emits the signals. Everything happens on the host's thread; nothing is synchronised. Threads that help
/// with large refreshes end before the call returns.
///
/// One project is current at a time: `project()` answers it, and every handle counts its locks there. A host that
/// wants its own instance (of this class, by `createProject`, or of one derived from it) sets `projectPtr` before it
/// uses anything else.
///
/// Entities are named by UIDs from one counter, 1 being the built-in "Case ID" variable and 0 no entity. Lists of
/// entities are in ascending UID order, which is the order of creation. Every operation that takes a UID throws
/// varnel::ExceptionBase("Attempted to look up unknown data entity", true) for an unknown one, before it changes
/// anything, unless it says otherwise. All errors are varnel::ExceptionBase; the flag is given with the message.
///
/// The order of the virtual operations is part of the interface: new ones come at the end. A project must not be
/// destroyed within one of its slots.
class CASEBOOK_EXPORT Project {
 public:
  using ColumnInfo = casebook::ColumnInfo;
  using MergeInfo = casebook::MergeInfo;
  using MergeMethod = casebook::MergeMethod;
  using MergeState = casebook::MergeState;

  using Direction = Journal::Direction;

  using ChangeSlot = std::function<void(TransactionRecord const&)>;
  using JournalSlot = std::function<void(Journal::TransactionWriter&)>;
  using ResetSlot = std::function<void()>;

  /// The current project: what `projectPtr` points to, else the process's own instance, which is made on the first
  /// call in any case and lives until statics are destroyed; not to be called after that. The first call may come
  /// from several threads at once.
  static Project const& project();

  /// ".png", ".jpeg", ".jpg" and ".bmp".
  [[nodiscard]] static FileExtensions const& imageExtensions();

  Project(Project const&) = delete;
  Project& operator=(Project const&) = delete;

  /// Frees the table; checks neither locks nor open transactions. If this is the current project, `projectPtr`
  /// becomes null.
  virtual ~Project();

 private:
  // Called after a slot was connected to the signal of the name; a derived class may want to know.
  virtual void signalProjectChangePreConnected();
  virtual void signalProjectChangeConnected();
  virtual void signalProjectJournalConnected();
  virtual void signalProjectResetConnected();

 public:
  // The project's texts

  /// True while there is no record, however many variables there are.
  [[nodiscard]] virtual bool empty() const;
  [[nodiscard]] virtual std::string friendlyName() const;
  [[nodiscard]] virtual std::string description() const;
  /// The folder to which relative paths of files are joined.
  [[nodiscard]] virtual std::string rootPath() const;
  virtual void setFriendlyName(std::string const& name);
  virtual void setDescription(std::string const& description);
  virtual void setRootPath(std::string const& path);

  // Lists

  [[nodiscard]] virtual std::vector<WeakPtr<Variable>> variables() const;
  [[nodiscard]] virtual std::vector<WeakPtr<Record>> records() const;
  [[nodiscard]] virtual std::vector<WeakPtr<Regex<Variable>>> variableRegexs() const;
  [[nodiscard]] virtual std::vector<WeakPtr<Regex<std::string>>> pathRegexs() const;
  [[nodiscard]] virtual std::vector<WeakPtr<TagGroup>> tagGroups() const;
  /// The record's files that carry any of the tags, ascending, a file once for each tag that it carries. An unknown
  /// record has none.
  [[nodiscard]] virtual std::vector<WeakPtr<AuxFile>> auxFiles(u64 record, std::set<std::string> const& tags);
  /// The record's files in the order in which they were attached.
  [[nodiscard]] virtual std::vector<WeakPtr<AuxFile>> auxFiles(u64 record);
  /// All files that carry the tag, which they do as `auxFileHasTag` says.
  [[nodiscard]] virtual std::vector<WeakPtr<AuxFile>> auxFiles(std::string const& tag);
  [[nodiscard]] virtual std::vector<WeakPtr<AuxFile>> auxFiles();
  [[nodiscard]] virtual WeakPtr<Variable> getCaseIDColumn();
  /// The record with this case identifier, the one of lowest UID where several have it; empty when none has. Answers
  /// as the table stood at the first question since the last transaction that changed anything ended; a table that
  /// was empty then is looked at again.
  [[nodiscard]] virtual WeakPtr<Record> recordById(u64 caseId);

  // Creation

  /// A column whose cells are copies of the default value. The name may be taken already, and nothing asks whether
  /// the default value fits the data type.
  virtual WeakPtr<Variable> addVariable(std::string const& name, VariableNature nature, VariableDataType dataType,
                                        Variant const& defaultValue);
  /// A column of numbers, 0.0 at first, that is worked out anew at the end of every outermost transaction by an
  /// expression over the other columns (docs/expressions.md has the language). At that end a text that is no expression
  /// turns its variable, and every calculated one of its name, into an ordinary one for good; it keeps its values, and
  /// only the journal tells. `Expression{text, names}` checks a text beforehand, the names being those of all variables
  /// in the order of `variables()`.
  virtual WeakPtr<Variable> addCalcVariable(std::string const& name, VariableNature nature,
                                            std::string const& expression);
  /// A row of default values at the end of the table. Its case identifier is one more than that of the record with
  /// the highest UID, 1 in an empty project.
  virtual WeakPtr<Record> addRecord();
  /// A rule for a variable, which must be there. Errors of the pattern: see `setVariableRegexExpression`.
  virtual WeakPtr<Regex<Variable>> addVariableRegex(std::string const& expression, Variable const& target);
  /// A rule that gives the tag `target` to paths. Errors of the pattern: see `setPathRegexExpression`.
  virtual WeakPtr<Regex<std::string>> addPathRegex(std::string const& expression, std::string const& target);
  /// An empty group. Throws ("Duplicate tag group names are not allowed.", false) when the name is taken.
  virtual WeakPtr<TagGroup> addTagGroup(std::string const& name);

  // Names and tags

  /// The variable of this name, byte for byte; of several the one of lowest UID; empty when there is none.
  [[nodiscard]] virtual WeakPtr<Variable> variable(std::string const& name);
  /// A group's tags in their order. The reference lasts until the group changes.
  [[nodiscard]] virtual std::vector<std::string> const& tags(u64 tagGroup) const;
  /// Every target of a path rule and every explicit tag of a file.
  [[nodiscard]] virtual std::set<std::string> tags();
  /// The tags of image files, ascending: a tag that files have of their own when the first of them is an image file,
  /// and what is claimed from the rules. One after the other, each image file without a tag of its own claims the
  /// target of the first rule that matches it and that no file before it has claimed. When a transaction ends, every
  /// group loses the tags that are not among these, through `removeTag`.
  [[nodiscard]] virtual std::vector<std::string> imageTags();
  /// Takes the tags out of the groups that list them, each once, through `removeTag`, then requests the erasure of the
  /// rules that give them and of the files that carry them. The change signal of the removals names the tags.
  ///
  /// Throws as the requests do; what was done before stays done. A file that carries two of the tags is requested
  /// twice, which throws ("Attempted to delete the same data entity twice in a single transaction", true): a host
  /// that wants both gone removes one in a transaction of its own, or erases the files itself.
  virtual void removeTags(std::set<std::string> const& tags);
  /// The group of this name; empty when there is none.
  [[nodiscard]] virtual WeakPtr<TagGroup> tagGroup(std::string const& name);

  // Merging

  // A merge is part of the open transaction; what it did before an error stays done. The table is given column by
  // column, its cells in the order of the rows, column k being described by `descriptions[k]`: it goes into the
  // variable of the same name, byte for byte. Where there is none, one is made, with the default "" in data type 3
  // and null in every other. `auxFiles` must not be null; its exceptions pass.

  /// Merges a table that `merge_prep` prepared, by `info.method`, as the next operation does; its cells are not checked
  /// again. Columns go into the variables that they were paired with, or have been given since; where such a variable
  /// is gone, throws ("Attempted to look up unknown data entity", true). An empty table does nothing.
  virtual void merge(MergeInfo info, boost::shared_ptr<AuxFileCollectionInterface const> const& auxFiles);
  /// Checks and merges a table; one without columns does nothing. Rows are taken in their order. A row overwrites the
  /// first record that equals it, by ==, in the columns that decide, and that no earlier row has claimed; a null of the
  /// table overwrites a value. Records that come of the table are not matched by its later rows. Which rows match is
  /// settled before the collection of files is asked.
  ///
  /// Throws what `merge_prep` does. Then, before anything changes, for MergeMethod::ByCaseId
  /// ("Attempt to merge by Case ID; input lacks 'Case ID' column.", false) or
  /// ("Attempt to merge by Case ID; input lacks 'Case ID' as first column.", false), for any other method
  /// ("Attempt to merge where input contains 'Case ID' column.", false). Another value than those of MergeMethod throws
  /// ("Invalid MergeMethod parameter to merge()", true) when the new variables have been made.
  virtual void merge(std::vector<std::vector<Variant>> const& table, std::vector<ColumnInfo> const& descriptions,
                     MergeMethod method, boost::shared_ptr<AuxFileCollectionInterface const> const& auxFiles);
  /// Checks a table, of which it keeps a copy, and counts the rows that would match by independent values: 0 when a
  /// column that decides is new. Changes nothing. Throws
  /// ("Mismatched table and descriptions sizes", true); column by column then
  /// ("Input table contains duplicate column names.", true),
  /// ("Input column nature doesn't match existing column.", false),
  /// ("Input column data type doesn't match existing column.", false),
  /// ("Input column data type doesn't match actual contents.", false); in the end
  /// ("The columns of the input table differ in length.", true).
  [[nodiscard]] virtual MergeInfo merge_prep(std::vector<std::vector<Variant>> const& table,
                                             std::vector<ColumnInfo> const& descriptions) const;

  // Cells and variables

  /// The cell; the reference lasts until the table changes.
  [[nodiscard]] virtual Variant const& value(Variable const& variable, Record const& record) const;
  /// Writes a cell. The value must be of the variable's data type; a null goes into data types 1 and 2 as well.
  /// Else throws ("Attempted to set an invalid value type on a variable", true).
  virtual void setValue(Variable const& variable, Record const& record, Variant const& value);
  [[nodiscard]] virtual VariableDataType variableDataType(u64 variable) const;
  [[nodiscard]] virtual VariableType variableType(u64 variable) const;
  [[nodiscard]] virtual VariableNature variableNature(u64 variable) const;
  [[nodiscard]] virtual std::string variableDescription(u64 variable) const;
  [[nodiscard]] virtual std::string variableName(u64 variable) const;
  [[nodiscard]] virtual std::string variableExpression(u64 variable) const;
  [[nodiscard]] virtual Variant variableDefaultValue(u64 variable) const;
  /// The distinct values of the column, ascending, without null and NaN. Like the next two and variableNumNullValues
  /// it describes the column as it stood when the last transaction that changed anything ended, or, where that left
  /// nothing, at the first such question: what an open transaction writes does not show.
  [[nodiscard]] virtual std::vector<Variant> variableUniqueValues(u64 variable);
  /// The number of case identifiers whose records hold the value.
  [[nodiscard]] virtual u64 variableValueCount(u64 variable, Variant const& value) const;
  /// The case identifiers whose records hold the value.
  [[nodiscard]] virtual std::set<u64> variableCaseIDs(u64 variable, Variant const& value);
  /// Whether this is the built-in "Case ID" variable; false for unknown UIDs.
  [[nodiscard]] virtual bool variableIsCaseID(u64 variable) const;
  /// The number of case identifiers whose records hold null, and of those whose records hold NaN, added.
  [[nodiscard]] virtual u64 variableNumNullValues(u64 variable) const;
  /// The smallest and the largest number of the column as it stands, (NaN, NaN) when it holds none. Nulls are 0 in
  /// data type 1 and do not count in data type 2. Throws ("variableRange called on a non-numeric variable", true) for
  /// any other data type.
  [[nodiscard]] virtual std::pair<double, double> variableRange(u64 variable);
  /// These assign the property and nothing else: no cell is converted, and what a name or an expression does to
  /// calculated variables shows at the end of the transaction (addCalcVariable). `setVariableType` throws
  /// ("Only activating records makes a Case Status variable.", true) for that variable and for its type.
  virtual void setVariableDataType(u64 variable, VariableDataType dataType);
  virtual void setVariableType(u64 variable, VariableType type);
  virtual void setVariableNature(u64 variable, VariableNature nature);
  virtual void setVariableDescription(u64 variable, std::string const& description);
  virtual void setVariableName(u64 variable, std::string const& name);
  virtual void setVariableExpression(u64 variable, std::string const& expression);
  virtual void setVariableDefaultValue(u64 variable, Variant const& value);

  // Records

  /// Makes the record active or inactive. The first call creates the "Case Status" variable, in which every record
  /// is active; it stays when the record is then found to be unknown.
  virtual void activate(u64 record, bool active);
  /// The record's files by kind, ascending; an unknown record has none. `auxFilesNonImage` lists a file once for each
  /// of the tags that it carries.
  [[nodiscard]] virtual std::vector<WeakPtr<AuxFile>> auxFilesImage(u64 record);
  [[nodiscard]] virtual std::vector<WeakPtr<AuxFile>> auxFiles3DX(u64 record);
  [[nodiscard]] virtual std::vector<WeakPtr<AuxFile>> auxFilesNonImage(u64 record, std::set<std::string> const& tags);
  /// The record's cells, one per variable in ascending UID order.
  [[nodiscard]] virtual std::vector<Variant> getRow(u64 record);
  /// Writes the record's cells, `row[k]` into the k-th variable in ascending UID order, whatever their types. Further
  /// elements are ignored; with fewer, throws ("The row holds fewer values than there are variables.", true).
  virtual void setRow(u64 record, std::vector<Variant> const& row);
  /// Attaches a file. A file of the same path and tag that the record has already is returned instead.
  virtual WeakPtr<AuxFile> addAuxFile(u64 record, std::string const& path, std::string const& tag);
  /// True unless the record's "Case Status" cell holds anything but "Active".
  [[nodiscard]] virtual bool recordIsActive(u64 record) const;

  // Tag groups

  virtual void addTag(u64 tagGroup, std::string const& tag);
  /// Inserts before position `index`, at most the number of tags: else throws
  /// ("Attempted to insert a tag beyond the end of its group.", true).
  virtual void insertTag(u64 tagGroup, std::string const& tag, u64 index);
  /// Removes the first such tag. Throws ("Attempted to remove a tag that is not in its group.", true) when there is
  /// none.
  virtual void removeTag(u64 tagGroup, std::string const& tag);
  /// The reference lasts until the group changes.
  [[nodiscard]] virtual std::string const& tagGroupName(u64 tagGroup) const;
  /// Throws ("Duplicate tag group names are not allowed.", false) when the name is taken, also by the group itself.
  virtual void setTagGroupName(u64 tagGroup, std::string const& name);

  // Files

  /// The path joined to the project's root path; as it is when it is absolute.
  [[nodiscard]] virtual std::string auxFilePath(u64 auxFile) const;
  [[nodiscard]] virtual WeakPtr<Record> auxFileRecord(u64 auxFile);
  /// The explicit tag, or those of the path rules that match, ascending. A rule matches when its pattern matches some
  /// stretch at the end of the path as it was given: "*.png", ".png" and "scan?.png" match "a/scan1.png".
  [[nodiscard]] virtual std::vector<std::string> auxFileTags(u64 auxFile);
  /// Whether the path matches the `imageExtensions`, by `fileMatchesWildcards`.
  [[nodiscard]] virtual bool auxFileHasImageExtension(u64 auxFile) const;
  /// The same with the extensions of the LoaderDescriptionDepot.
  [[nodiscard]] virtual bool auxFileHas3DXExtension(u64 auxFile) const;
  /// Whether the tag is the explicit one or, where that is empty, one of those that rules give. The empty tag is
  /// carried by every file without an explicit one.
  [[nodiscard]] virtual bool auxFileHasTag(u64 auxFile, std::string const& tag) const;

  // Locks. Handles and WeakPtr::lock use these; a host seldom does.

  /// A handle that keeps the entity's count raised; an invalid one for an unknown UID.
  [[nodiscard]] virtual AuxFile lockAuxFile(u64 uid);
  [[nodiscard]] virtual Record lockRecord(u64 uid);
  [[nodiscard]] virtual Regex<std::string> lockRegexTag(u64 uid);
  [[nodiscard]] virtual Regex<Variable> lockRegexVar(u64 uid);
  [[nodiscard]] virtual TagGroup lockTagGroup(u64 uid);
  [[nodiscard]] virtual Variable lockVariable(u64 uid);
  /// Raises the count; UID 0 does nothing, an unknown one throws
  /// ("Attempted to create or copy an invalid data entity", false).
  virtual void addRefAuxFile(u64 uid) const;
  virtual void addRefRecord(u64 uid) const;
  virtual void addRefRegexTag(u64 uid) const;
  virtual void addRefRegexVar(u64 uid) const;
  virtual void addRefTagGroup(u64 uid) const;
  virtual void addRefVariable(u64 uid) const;
  /// Lowers the count, which stays 0 when it is; an unknown UID, 0 included, throws
  /// ("Attempted to unlock an unknown data entity", true).
  virtual void unlockAuxFile(u64 uid) const;
  virtual void unlockRecord(u64 uid) const;
  virtual void unlockRegexTag(u64 uid) const;
  virtual void unlockRegexVar(u64 uid) const;
  virtual void unlockTagGroup(u64 uid) const;
  virtual void unlockVariable(u64 uid) const;

  // Deletion. Requests are checked at once and carried out at the end of the transaction.

  virtual void eraseRecord(u64 record);
  virtual void eraseVariable(u64 variable);
  virtual void eraseAuxFile(u64 auxFile);
  virtual void eraseTagGroup(u64 tagGroup);
  virtual void erasePathRegex(u64 rule);
  virtual void eraseVariableRegex(u64 rule);

  // Files and rules

  [[nodiscard]] virtual std::string auxFileRawPath(u64 auxFile) const;
  [[nodiscard]] virtual std::string pathRegexExpression(u64 rule) const;
  [[nodiscard]] virtual std::string pathRegexTarget(u64 rule) const;
  [[nodiscard]] virtual std::string variableRegexExpression(u64 rule) const;
  /// The variable that the rule names, which may be gone.
  [[nodiscard]] virtual WeakPtr<Variable> variableRegexTarget(u64 rule) const;
  /// A pattern is at most 4096 bytes: else throws ("A pattern is at most 4096 bytes long.", false). Errors of the
  /// compilation pass as Boost.Regex throws them. Nothing has changed then.
  virtual void setPathRegexExpression(u64 rule, std::string const& expression);
  virtual void setPathRegexTarget(u64 rule, std::string const& tag);
  virtual void setVariableRegexExpression(u64 rule, std::string const& expression);
  virtual void setVariableRegexTarget(u64 rule, u64 variable);

  // Transactions

  /// Opens a transaction, or one more level of the one that is open.
  [[nodiscard]] Transaction startTransaction();
  /// Raises the depth of open transactions; the argument is ignored.
  virtual void startTransaction(u64 ignored);
  /// Lowers the depth; at 0 the transaction ends. The argument is ignored. A depth of 0 is not checked: it wraps, and
  /// no transaction ever ends again. Exceptions of the end of the transaction pass.
  virtual void endTransaction(u64 ignored);
  /// The number of levels open.
  [[nodiscard]] virtual u64 transactionDepth() const;
  /// Whether a slot of one of the signals is running.
  [[nodiscard]] virtual bool isEmitting() const;

  /// Replays a stored block inside the host's transaction, which journals it as a new block. Undo is the replay
  /// backwards; redo the replay forwards, or that of undo's block backwards. Only one step of replay in one
  /// transaction is promised to be exact. Does not ask for the block's CRC: hosts ask `valid()`.
  ///
  /// Throws ("Unknown journal command.", true), ("Attempt to read beyond end of data block.", true), or what is
  /// wrong with a command that does not fit the table; commands replayed before stay applied. Within a slot it
  /// throws as `resetProject` does.
  virtual void processJournalTransaction(Journal::Transaction const& block, Direction direction);

  /// The state as one block of ordinary commands, which `restore` takes. Throws
  /// ("A checkpoint needs all transactions to be closed.", true) otherwise.
  [[nodiscard]] virtual Journal::Checkpoint checkpoint() const;

  /// Takes a project as constructed or reset to the state to which replaying the blocks forwards leads, each in a
  /// transaction of its own: nothing is journalled or signalled, and what follows from the cells is computed once.
  /// What the end of a transaction would change and journal (a calculated variable made static, a tag taken out of a
  /// group) waits for the end of the next one, so that the blocks go on leading to the state.
  /// The UID counter becomes at least `nextUid`. Does not ask for the CRCs.
  ///
  /// Throws ("Only a new project can be restored.", true) for any other project, one with an open transaction, and
  /// within a slot; and Journal::RestoreError for a block that does not fit, which leaves the project as reset.
  virtual void restore(std::span<Journal::Transaction const> blocks, u64 nextUid);

  // The whole project

  /// Empties the project: UIDs start again at 1, the open transactions stay open, and the reset signal is emitted.
  /// It cannot be undone: a host drops its undo stack with it. Within a slot throws
  /// ("The project cannot be replaced while it is signalling.", true).
  virtual void resetProject();
  /// The same without the signal, and every connection to a signal is lost.
  virtual void clearEntireProjectWithoutSignal();
  /// False while a transaction is open or any handle is alive.
  [[nodiscard]] virtual bool isCompletelyUnlocked() const;

  // Signals. A slot may edit (what the slots of one emission do becomes a transaction, which ends when the emission
  // is over), connect, drop connections and throw: every slot of that signal is called, then the first exception
  // passes. A slot that edits each time it is called keeps the transaction from ending.

  /// Before listeners of `connectProjectChange`, with the same record.
  Connection connectProjectChangePre(ChangeSlot slot);
  /// After a transaction that changed anything; twice when it erased entities and changed others.
  Connection connectProjectChange(ChangeSlot slot);
  /// The block of each transaction that wrote commands. Commands are written only while a slot is connected. All four
  /// throw ("A slot must be callable.", true) for an empty one.
  Connection connectProjectJournal(JournalSlot slot);
  Connection connectProjectReset(ResetSlot slot);

 protected:
  /// Holds the "Case ID" variable and nothing else.
  Project();

 private:
  std::unique_ptr<Components> components_;
};

/// The process-wide project, null until Project::project() is first asked or a host sets it. Borrowed.
CASEBOOK_EXPORT extern Project* projectPtr;

/// Makes a project beside the current one. Its handles work once `projectPtr` points to it.
[[nodiscard]] CASEBOOK_EXPORT std::unique_ptr<Project> createProject();

/// The current project, to be changed.
[[nodiscard]] CASEBOOK_EXPORT Project& currentProject();

}  // namespace casebook
