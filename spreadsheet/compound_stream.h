#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace tavelin {

// The stream `name` (ASCII) of the root of a compound file held whole in
// `file`, as its FAT chains it: a view into `file` where its sectors follow
// each other (as a writer lays out a stream), else gathered into `storage`.
// None for a file that is not a compound file, a stream that is missing or
// kept in the mini stream, or chains that leave the file or loop.
std::optional<std::string_view> ReadCompoundStream(std::string_view file, std::string_view name,
                                                   std::string& storage);

}  // namespace tavelin
