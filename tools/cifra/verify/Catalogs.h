#pragma once

#include <optional>
#include <string>
#include <vector>

namespace client {

// FindCatalogs gives the paths of the catalogs on this computer that list a file by its digest:
// SHA-256 first, then SHA-1. Nothing when that cannot be told.
std::optional<std::vector<std::wstring>> FindCatalogs(const std::wstring& path);

}  // namespace client
