#include <casebook/loader_description_depot.h>

#include <utility>

namespace casebook {

LoaderDescriptionDepot& LoaderDescriptionDepot::getInstance() {
  static LoaderDescriptionDepot depot;
  return depot;
}

LoaderDescriptionDepot::LoaderDescriptionDepot()
    : loaders_{{"Polygon meshes", {".ply", ".stl", ".obj", ".off"}},
               {"Scenes", {".gltf", ".glb", ".x3d"}},
               {"Visualization Toolkit", {".vtk", ".vti", ".vtp", ".vtu", ".vts", ".vtr"}},
               {"NIfTI", {".nii", ".nii.gz"}},
               {"NRRD", {".nrrd", ".nhdr"}},
               {"MetaImage", {".mha", ".mhd"}}} {}

LoaderDescriptionDepot::~LoaderDescriptionDepot() = default;

void LoaderDescriptionDepot::add(LoaderDescription description) {
  std::scoped_lock const lock{mutex_};
  loaders_.insert_or_assign(std::move(description.name), std::move(description.extensions));
}

bool LoaderDescriptionDepot::remove(std::string const& name) {
  std::scoped_lock const lock{mutex_};
  return loaders_.erase(name) != 0;
}

std::vector<LoaderDescription> LoaderDescriptionDepot::descriptions() const {
  std::scoped_lock const lock{mutex_};
  std::vector<LoaderDescription> all;
  for (auto const& [name, extensions] : loaders_) all.push_back({name, extensions});
  return all;
}

FileExtensions LoaderDescriptionDepot::extensions() const {
  std::scoped_lock const lock{mutex_};
  FileExtensions all;
  for (auto const& [name, extensions] : loaders_) all.insert(extensions.begin(), extensions.end());
  return all;
}

}  // namespace casebook
