#include "changes/tracking.h"

#include "git/handles.h"

#include <optional>
#include <utility>

namespace revlane {

namespace {

// Finds the upstreams of many branches. What libgit2 offers for one branch reads the whole
// configuration anew each time.
class Upstreams {
public:
    explicit Upstreams(git_repository* repository) : repository_(repository)
    {
        git_config* read = nullptr;
        if (git_repository_config_snapshot(&read, repository) == 0)
            config_.reset(read);
    }

    // The commit of the upstream of a branch (its short name); nothing where there is none.
    std::optional<git_oid> find(const std::string& branch)
    {
        const std::optional<std::string> name = full_name(branch);
        git_oid id{};
        if (!name || git_reference_name_to_id(&id, repository_, name->c_str()) != 0)
            return std::nullopt;
        return id;
    }

private:
    std::optional<std::string> full_name(const std::string& branch)
    {
        const std::string section = "branch." + branch;
        const char* remote = value(section + ".remote");
        const char* merge = value(section + ".merge");
        if (remote == nullptr || merge == nullptr)
            return std::nullopt;
        // The repository itself.
        if (std::string_view(remote) == ".")
            return merge;
        return tracking_name(this->remote(remote), merge);
    }

    // What the branch `merge` of a remote is called here.
    static std::optional<std::string> tracking_name(const git_remote* remote, const char* merge)
    {
        const std::size_t count = remote != nullptr ? git_remote_refspec_count(remote) : 0;
        for (std::size_t i = 0; i < count; ++i) {
            const git_refspec* refspec = git_remote_get_refspec(remote, i);
            git::Buffer name;
            if (git_refspec_direction(refspec) == GIT_DIRECTION_FETCH &&
                git_refspec_src_matches(refspec, merge) != 0 &&
                git_refspec_transform(name.get(), refspec, merge) == 0)
                return name.text();
        }
        return std::nullopt;
    }

    const char* value(const std::string& key) const
    {
        const char* text = nullptr;
        if (config_ == nullptr || git_config_get_string(&text, config_.get(), key.c_str()) != 0)
            return nullptr;
        return text;
    }

    const git_remote* remote(const std::string& name)
    {
        const auto known = remotes_.find(name);
        if (known != remotes_.end())
            return known->second.get();
        git_remote* found = nullptr;
        git_remote_lookup(&found, repository_, name.c_str());
        return remotes_.emplace(name, git::Remote(found)).first->second.get();
    }

    git_repository* repository_;
    git::Config config_;
    std::map<std::string, git::Remote, std::less<>> remotes_;  // null: there is none of that name
};

std::optional<git::AheadBehind> count(git_repository* repository, const git_oid& local,
                                      const git_oid& upstream)
{
    git::AheadBehind counts;
    if (git_oid_equal(&local, &upstream) == 0 &&
        git_graph_ahead_behind(&counts.ahead, &counts.behind, repository, &local, &upstream) != 0)
        return std::nullopt;
    return counts;
}

}  // namespace

TrackingMap read_tracking(git_repository* repository, const std::function<bool()>& is_cancelled)
{
    TrackingMap tracking;
    git_branch_iterator* created = nullptr;
    if (git_branch_iterator_new(&created, repository, GIT_BRANCH_LOCAL) != 0)
        return tracking;
    const git::BranchIterator iterator(created);
    Upstreams upstreams(repository);
    git_reference* next = nullptr;
    git_branch_t type{};
    while ((!is_cancelled || !is_cancelled()) &&
           git_branch_next(&next, &type, iterator.get()) == 0) {
        const git::Reference branch(next);
        const std::optional<git_oid> upstream = upstreams.find(git_reference_shorthand(next));
        const auto local = upstream ? git::reference_target(next) : git::Result<git_oid>(git_oid{});
        if (!upstream || !local)
            continue;
        if (const auto counts = count(repository, *local, *upstream))
            tracking.emplace(git_reference_name(next), *counts);
    }
    return tracking;
}

}  // namespace revlane
