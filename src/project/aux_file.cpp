#include <casebook/aux_file.h>
#include <casebook/project.h>
#include <casebook/record.h>

namespace casebook {

AuxFile::~AuxFile() = default;

Record AuxFile::record() const { return currentProject().auxFileRecord(uid()).lock(); }
std::vector<std::string> AuxFile::tags() const { return currentProject().auxFileTags(uid()); }
bool AuxFile::isImageFile() const { return Project::project().auxFileHasImageExtension(uid()); }
bool AuxFile::is3DXFile() const { return Project::project().auxFileHas3DXExtension(uid()); }
bool AuxFile::hasTag(std::string const& tag) const { return Project::project().auxFileHasTag(uid(), tag); }
WeakPtr<AuxFile> AuxFile::getWeakPtr() const { return WeakPtr<AuxFile>{uid()}; }

std::string AuxFile::rawFilePath() const { return Project::project().auxFileRawPath(uid()); }
std::string AuxFile::filePath() const { return Project::project().auxFilePath(uid()); }

void AuxFile::erase(Transaction& transaction) { transaction->eraseAuxFile(uid()); }

}  // namespace casebook
