#include <casebook/aux_file_collection.h>
#include <casebook/merge.h>

namespace casebook {

AuxFileCollectionInterface::AuxFileCollectionInterface() = default;
AuxFileCollectionInterface::AuxFileCollectionInterface(AuxFileCollectionInterface const&) = default;
AuxFileCollectionInterface& AuxFileCollectionInterface::operator=(AuxFileCollectionInterface const&) = default;
AuxFileCollectionInterface::~AuxFileCollectionInterface() = default;

MergeState::~MergeState() = default;

namespace {

struct MergeStateI : MergeState {};

}  // namespace

MergeInfo::MergeInfo() : state{new MergeStateI} {}

}  // namespace casebook
