#pragma once

#include <casebook/export.h>
#include <casebook/filesystem.h>

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace casebook {

/// A loader that the host has, as far as the library asks: which files it loads.
struct LoaderDescription {
  std::string name;
  FileExtensions extensions;  ///< such as ".ply"; entries of `fileMatchesWildcards`
};

/// The loaders for three-dimensional and volume data, by name. Starts with open formats, and the host adds what it
/// can load and removes what it cannot. Every operation may run while others do, on any thread; a loader is there
/// with all its extensions or not at all.
///
/// | name | extensions |
/// |---|---|
/// | "Polygon meshes" | .ply .stl .obj .off |
/// | "Scenes" | .gltf .glb .x3d |
/// | "Visualization Toolkit" | .vtk .vti .vtp .vtu .vts .vtr |
/// | "NIfTI" | .nii .nii.gz |
/// | "NRRD" | .nrrd .nhdr |
/// | "MetaImage" | .mha .mhd |
class CASEBOOK_EXPORT LoaderDescriptionDepot {
 public:
  /// The one depot of the process.
  [[nodiscard]] static LoaderDescriptionDepot& getInstance();

  LoaderDescriptionDepot(LoaderDescriptionDepot const&) = delete;
  LoaderDescriptionDepot& operator=(LoaderDescriptionDepot const&) = delete;

  /// In place of one of the same name.
  void add(LoaderDescription description);
  /// False when there is none of that name.
  bool remove(std::string const& name);

  /// By name.
  [[nodiscard]] std::vector<LoaderDescription> descriptions() const;
  /// The extensions of all loaders.
  [[nodiscard]] FileExtensions extensions() const;

 private:
  LoaderDescriptionDepot();
  ~LoaderDescriptionDepot();

  mutable std::mutex mutex_;
  std::map<std::string, FileExtensions> loaders_;
};

}  // namespace casebook
