// File operations whose library version misbehaves on one of the systems.
#pragma once

#include <filesystem>
#include <system_error>

// Copies from over to, replacing a file that is there. MinGW's std::filesystem sees every two files as the
// same one (its stat has no inode numbers) and refuses to overwrite "itself" with "File exists"; so the old
// file goes first. When from is missing, ec is no_such_file_or_directory and to stays as it was.
void gf_copyFileReplacing(const std::filesystem::path& from, const std::filesystem::path& to, std::error_code& ec);
