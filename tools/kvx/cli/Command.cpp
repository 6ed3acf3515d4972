// SPDX-License-Identifier: MIT
#include "cli/Command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>

#include <KvxDevCommon01/text/PlainText.h>

#include "cli/Description.h"
#include "cli/Help.h"
#include "cli/Options.h"

namespace kvx::tool {
namespace {

/// The text of an option, wrapped to its column of the help.
std::string Description(const CLI::App& app, const std::string& text) {
    return Wrapped(text, HelpWidth() - app.get_formatter()->get_column_width());
}

}  // namespace

Option& Option::Required() {
    option_->required();
    description_->isRequired = true;
    return *this;
}

Option& Option::Type(const std::string& name) {
    option_->type_name(name);
    description_->value = name;
    return *this;
}

Option& Option::Values(int count) {
    option_->type_size(count);
    return *this;
}

Option& Option::Many() {
    option_->expected(1, CLI::detail::expected_max_vector_size)->allow_extra_args(true);
    description_->isMany = true;
    return *this;
}

Option& Option::Check(const Complaint& complaint) {
    option_->check(complaint);
    return *this;
}

Option& Option::OneOf(const std::vector<std::string>& values) {
    const auto complain = [values](const std::string& text) {
        return std::ranges::find(values, text) != values.end() ? std::string() : NoSuchName(text, values);
    };
    std::string list = "{";
    for (const std::string& value : values) list += (list.size() > 1 ? "," : "") + value;
    option_->check(CLI::Validator(complain, list + "}"));
    return Suggest(values);
}

Option& Option::Suggest(const std::vector<std::string>& values) {
    description_->choices = values;
    return *this;
}

Option& Option::ShowDefault() {
    option_->capture_default_str();
    description_->standard = option_->get_default_str();
    return *this;
}

Command Command::AddCommand(const std::string& name, const std::string& description) {
    app_->require_subcommand(0, 1);
    description_->commands.push_back({.name = name, .text = description});
    return {app_->add_subcommand(name, description), &description_->commands.back(), action_};
}

/// Keeps what an option says; `value` is what an argument without a name is called.
OptionDescription* Command::Describe(const std::string& names, const std::string& value,
                                     const std::string& text) {
    OptionDescription option{.value = value, .text = text};
    if (names.starts_with('-')) {
        for (std::string& name : SplitList(names)) option.names.push_back(std::move(name));
    } else {
        option.value = names;
    }
    if (!option.IsArgument()) option.group = description_->group;
    description_->options.push_back(std::move(option));
    return &description_->options.back();
}

template <typename Target>
Option Command::AddOption(const std::string& names, Target& target, const std::string& description) {
    CLI::Option* option = app_->add_option(names, target, Description(*app_, description));
    if constexpr (std::is_same_v<Target, std::vector<std::string>>) option->allow_extra_args(false);
    if (!names.starts_with('-')) option->type_name("");  // the name says what it is
    return {option,
            Describe(names, std::is_constructible_v<Target, const char*> ? "TEXT" : "N", description)};
}

#define KVX_OPTION_TARGET(Target) \
    template Option Command::AddOption(const std::string&, Target&, const std::string&)
KVX_OPTION_TARGET(std::string);
KVX_OPTION_TARGET(std::optional<std::string>);
KVX_OPTION_TARGET(std::vector<std::string>);
KVX_OPTION_TARGET(double);
KVX_OPTION_TARGET(std::optional<double>);
KVX_OPTION_TARGET(std::int64_t);
KVX_OPTION_TARGET(std::optional<std::int64_t>);
KVX_OPTION_TARGET(std::uint32_t);
KVX_OPTION_TARGET(std::size_t);
#undef KVX_OPTION_TARGET

Option Command::AddFlag(const std::string& name, bool& target, const std::string& description) {
    return {app_->add_flag(name, target, Description(*app_, description)), Describe(name, "", description)};
}

void Command::BeginGroup(const std::string& title) {
    description_->group = title;
    app_->option_defaults()->group(title.empty() ? "Options" : title);
}

void Command::SetFooter(std::string_view paragraphs, std::string_view example) {
    description_->paragraphs = ParagraphsOf(paragraphs);
    description_->example = LinesOf(example);
    app_->footer(HelpFooter(paragraphs, example));
}

void Command::OnRun(Action action) {
    // A command within a command comes first and is the one that is meant.
    app_->callback([action = std::move(action), target = action_] {
        if (!*target) *target = action;
    });
}

}  // namespace kvx::tool
