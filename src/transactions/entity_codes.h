#pragma once

#include <casebook/journal_codes.h>

#include "store/entities.h"

namespace casebook {

/// The command that tells of a new entity; with Journal::Inverse of one that is erased.
template <class Entity>
inline constexpr std::uint32_t creationCode = 0;
template <>
inline constexpr std::uint32_t creationCode<DataVariable> = Journal::VariableCreated;
template <>
inline constexpr std::uint32_t creationCode<DataRecord> = Journal::RecordCreated;
template <>
inline constexpr std::uint32_t creationCode<DataAuxFile> = Journal::AuxFileCreated;
template <>
inline constexpr std::uint32_t creationCode<DataTagGroup> = Journal::TagGroupCreated;
template <>
inline constexpr std::uint32_t creationCode<DataVariableRegex> = Journal::VariableRegexCreated;
template <>
inline constexpr std::uint32_t creationCode<DataPathRegex> = Journal::PathRegexCreated;

}  // namespace casebook
