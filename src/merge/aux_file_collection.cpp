#include <casebook/aux_file_collection.h>

namespace casebook {

AuxFileCollectionInterface::AuxFileCollectionInterface() = default;
AuxFileCollectionInterface::AuxFileCollectionInterface(AuxFileCollectionInterface const&) = default;
AuxFileCollectionInterface& AuxFileCollectionInterface::operator=(AuxFileCollectionInterface const&) = default;
AuxFileCollectionInterface::~AuxFileCollectionInterface() = default;

}  // namespace casebook
