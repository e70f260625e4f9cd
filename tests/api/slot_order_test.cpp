#include <casebook/casebook.h>

#include <gtest/gtest.h>

#include <cstring>

// Slots are read from pointers to virtual members: in the Itanium C++ ABI the first word of one is 1 plus the byte
// offset in the virtual table, where a destructor takes two entries.
#if defined(__GNUC__) && defined(__x86_64__)

namespace casebook {
namespace {

template <class Member>
std::size_t slotOf(Member member) {
  std::size_t word = 0;
  std::memcpy(&word, &member, sizeof word);
  return word % sizeof(void*) == 1 ? word / sizeof(void*) : ~std::size_t{0};  // the address of one that is not virtual
}

/// Expects the members to follow each other from `first` on.
template <class... Members>
void expectSlots(std::size_t first, Members... members) {
  for (auto const slot : {slotOf(members)...}) EXPECT_EQ(slot, first++);
}

constexpr std::size_t afterDestructor = 2;

/// The hooks are private; overriding them opens them.
struct OpenHooks : Project {
  void signalProjectChangePreConnected() override {}
  void signalProjectChangeConnected() override {}
  void signalProjectJournalConnected() override {}
  void signalProjectResetConnected() override {}
};

TEST(SlotOrder, Project) {
  using P = Project;
  using Files = std::vector<WeakPtr<AuxFile>>;
  using Collection = boost::shared_ptr<AuxFileCollectionInterface const>;
  using Columns = std::vector<ColumnInfo>;
  using Rows = std::vector<std::vector<Variant>>;
  expectSlots(
      afterDestructor, &OpenHooks::signalProjectChangePreConnected, &OpenHooks::signalProjectChangeConnected,
      &OpenHooks::signalProjectJournalConnected, &OpenHooks::signalProjectResetConnected, &P::empty, &P::friendlyName,
      &P::description, &P::rootPath, &P::setFriendlyName, &P::setDescription, &P::setRootPath, &P::variables,
      &P::records, &P::variableRegexs, &P::pathRegexs, &P::tagGroups,
      static_cast<Files (P::*)(u64, std::set<std::string> const&)>(&P::auxFiles),
      static_cast<Files (P::*)(u64)>(&P::auxFiles), static_cast<Files (P::*)(std::string const&)>(&P::auxFiles),
      static_cast<Files (P::*)()>(&P::auxFiles), &P::getCaseIDColumn, &P::recordById, &P::addVariable,
      &P::addCalcVariable, &P::addRecord, &P::addVariableRegex, &P::addPathRegex, &P::addTagGroup, &P::variable,
      static_cast<std::vector<std::string> const& (P::*)(u64) const>(&P::tags),
      static_cast<std::set<std::string> (P::*)()>(&P::tags), &P::imageTags, &P::removeTags, &P::tagGroup,
      static_cast<void (P::*)(MergeInfo, Collection const&)>(&P::merge),
      static_cast<void (P::*)(Rows const&, Columns const&, MergeMethod, Collection const&)>(&P::merge), &P::merge_prep,
      &P::value, &P::setValue, &P::variableDataType, &P::variableType, &P::variableNature, &P::variableDescription,
      &P::variableName, &P::variableExpression, &P::variableDefaultValue, &P::variableUniqueValues,
      &P::variableValueCount, &P::variableCaseIDs, &P::variableIsCaseID, &P::variableNumNullValues, &P::variableRange,
      &P::setVariableDataType, &P::setVariableType, &P::setVariableNature, &P::setVariableDescription,
      &P::setVariableName, &P::setVariableExpression, &P::setVariableDefaultValue, &P::activate, &P::auxFilesImage,
      &P::auxFiles3DX, &P::auxFilesNonImage, &P::getRow, &P::setRow, &P::addAuxFile, &P::recordIsActive, &P::addTag,
      &P::insertTag, &P::removeTag, &P::tagGroupName, &P::setTagGroupName, &P::auxFilePath, &P::auxFileRecord,
      &P::auxFileTags, &P::auxFileHasImageExtension, &P::auxFileHas3DXExtension, &P::auxFileHasTag, &P::lockAuxFile,
      &P::lockRecord, &P::lockRegexTag, &P::lockRegexVar, &P::lockTagGroup, &P::lockVariable, &P::addRefAuxFile,
      &P::addRefRecord, &P::addRefRegexTag, &P::addRefRegexVar, &P::addRefTagGroup, &P::addRefVariable,
      &P::unlockAuxFile, &P::unlockRecord, &P::unlockRegexTag, &P::unlockRegexVar, &P::unlockTagGroup,
      &P::unlockVariable, &P::eraseRecord, &P::eraseVariable, &P::eraseAuxFile, &P::eraseTagGroup, &P::erasePathRegex,
      &P::eraseVariableRegex, &P::auxFileRawPath, &P::pathRegexExpression, &P::pathRegexTarget,
      &P::variableRegexExpression, &P::variableRegexTarget, &P::setPathRegexExpression, &P::setPathRegexTarget,
      &P::setVariableRegexExpression, &P::setVariableRegexTarget, static_cast<void (P::*)(u64)>(&P::startTransaction),
      &P::endTransaction, &P::transactionDepth, &P::isEmitting, &P::processJournalTransaction, &P::checkpoint,
      &P::restore, &P::resetProject, &P::clearEntireProjectWithoutSignal, &P::isCompletelyUnlocked);
}

TEST(SlotOrder, OtherInterfaces) {
  using C = AuxFileCollectionInterface;
  expectSlots(afterDestructor, &Transaction::project, &Transaction::operator->);
  expectSlots(afterDestructor, &AuxFile::record, &AuxFile::tags, &AuxFile::isImageFile, &AuxFile::is3DXFile,
              &AuxFile::hasTag, &AuxFile::getWeakPtr);
  expectSlots(afterDestructor, &TagGroup::name, &TagGroup::setName, &TagGroup::tags, &TagGroup::addTag,
              &TagGroup::removeTag, &TagGroup::insertTag, &TagGroup::getWeakPtr);
  expectSlots(0, &TagOperations::getTagsForCases, &TagOperations::getUnusedTags);
  expectSlots(0, &C::empty, &C::tags, &C::files, &C::size);
}

}  // namespace
}  // namespace casebook

#endif
