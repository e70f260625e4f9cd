#include "auxtags/aux_files.h"

#include "platform/growth.h"

#include <boost/filesystem/path.hpp>

#include <algorithm>

namespace casebook {

FileExtensions const& imageExtensions() {
  static FileExtensions const extensions{".png", ".jpeg", ".jpg", ".bmp"};
  return extensions;
}

std::vector<DataAuxFile const*> AuxFiles::ofRecord(u64 record) const {
  std::vector<DataAuxFile const*> files;
  for (u64 const uid : store_.records.at(record).auxFiles) files.push_back(&store_.auxFiles.at(uid));
  return files;
}

DataAuxFile const& AuxFiles::add(u64 record, std::string const& path, std::string const& tag) {
  auto existing = ofRecord(record);
  return addUnique(record, existing, path, tag);
}

DataAuxFile const& AuxFiles::addUnique(u64 record, std::vector<DataAuxFile const*>& existing, std::string const& path,
                                       std::string const& tag) {
  auto const same = [&](DataAuxFile const* file) { return file->tag == tag && file->path == path; };
  if (auto const found = std::ranges::find_if(existing, same); found != existing.end()) return **found;

  reserveOneMore(existing);
  DataAuxFile file{store_.assignUid()};
  file.path = path;
  file.tag = tag;
  file.record = record;
  return *existing.emplace_back(&insert(std::move(file)));
}

DataAuxFile& AuxFiles::insert(DataAuxFile file) {
  auto& record = store_.records.at(file.record);
  reserveOneMore(record.auxFiles);
  auto& inserted = create(store_, sink_, std::move(file));
  record.auxFiles.insert(std::ranges::upper_bound(record.auxFiles, inserted.id), inserted.id);
  return inserted;
}

std::string AuxFiles::fullPath(DataAuxFile const& file) const {
  boost::filesystem::path const path{file.path};
  if (path.is_absolute()) return file.path;
  if (file.path.empty()) return store_.texts.rootPath;
  boost::filesystem::path full{store_.texts.rootPath};
  full /= path;
  return full.string();
}

}  // namespace casebook
