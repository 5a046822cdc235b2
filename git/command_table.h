// The argument texts of every git command, as they follow "git --no-pager ", with the stream that
// holds the command's report and how each value goes into its place. Most names are not escaped, as
// git's own rules leave little in them to escape; what would go wrong is refused.
#pragma once

#include "git/command_text.h"

namespace git::table {

// clang-format off
using enum Value;
using enum Stream;

inline constexpr CommandTemplate COMMIT          {LR"(commit -v --allow-empty-message --message="{}")", Output, {Quoted}};
// One UNSTAGE_PATH after the other follows UNSTAGE; unstage looks at each of them itself.
inline constexpr CommandTemplate UNSTAGE         {LR"(reset -- )",                                      Output};
inline constexpr CommandTemplate UNSTAGE_PATH    {LR"({} )",                                            Output, {Loose}};
inline constexpr CommandTemplate CHECKOUT        {LR"(checkout "{}" --)",                               Error,  {AsGiven}};
inline constexpr CommandTemplate CREATE_BRANCH   {LR"(branch "{}" "{}")",                               Output, {AsGiven, AsGiven}};
inline constexpr CommandTemplate DELETE_BRANCH   {LR"(branch --delete "{}")",                           Output, {AsGiven}};
inline constexpr CommandTemplate DELETE_TRACKING {LR"(branch --delete --remotes "{}")",                 Output, {AsGiven}};
// The first value is always empty.
inline constexpr CommandTemplate DELETE_ON_REMOTE{LR"(push{} -v {} --delete {})",                       Error,  {AsGiven, AsGiven, AsGiven}};
inline constexpr CommandTemplate SUBMODULE_UPDATE{LR"(submodule update --init -- "{}")",                Output, {AsGiven}};
inline constexpr CommandTemplate FETCH           {LR"(fetch -v)",                                       Error};
inline constexpr CommandTemplate PULL            {LR"(pull -v)",                                        Output};
inline constexpr CommandTemplate PUSH            {LR"(-c push.autoSetupRemote=true push -v)",           Error};
inline constexpr CommandTemplate STATUS          {LR"(status)",                                         Output};
inline constexpr CommandTemplate STASH_LIST      {LR"(stash list --pretty=%s)",                         Output};
inline constexpr CommandTemplate STASH_PUSH      {LR"(stash push -m "{}")",                             Output, {AsGiven}};
inline constexpr CommandTemplate STASH_APPLY     {LR"(stash apply stash^{{/{}}})",                      Output, {AsGiven}};
inline constexpr CommandTemplate STASH_DROP      {LR"(stash drop)",                                     Output};
inline constexpr CommandTemplate FIND_TRACKED    {LR"(ls-files --error-unmatch -- {})",                 Error,  {Loose}};
inline constexpr CommandTemplate CHECKOUT_FILE   {LR"(checkout -- "{}")",                               Error,  {AsGiven}};
inline constexpr CommandTemplate ADD             {LR"(add -- "{}")",                                    Error,  {Quoted}};
inline constexpr CommandTemplate FILE_HISTORY    {LR"(log --follow -m "{}" --pretty=%H -- "{}")",       Output, {Quoted, Quoted}};
inline constexpr CommandTemplate LOG_BY_MESSAGE  {LR"(log --pretty=%H --grep="{}" "{}")",               Output, {Quoted, Quoted}};
inline constexpr CommandTemplate LOG_BY_AUTHOR   {LR"(log --pretty=%H --author="{}" "{}")",             Output, {Quoted, Quoted}};
// clang-format on

}  // namespace git::table
