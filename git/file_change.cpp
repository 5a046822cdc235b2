#include "git/file_change.h"

namespace git {

namespace {

bool same_id(const std::optional<git_oid>& left, const std::optional<git_oid>& right) noexcept
{
    if (!left || !right)
        return left.has_value() == right.has_value();
    return git_oid_equal(&*left, &*right) != 0;
}

}  // namespace

bool operator==(const FileChange& left, const FileChange& right) noexcept
{
    return left.status == right.status && left.new_path == right.new_path &&
           left.old_path == right.old_path && same_id(left.old_id, right.old_id) &&
           same_id(left.new_id, right.new_id);
}

}  // namespace git
