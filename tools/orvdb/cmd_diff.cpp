// orvdb diff: what a new database changes against an old one.
#include <iostream>
#include <memory>

#include "commands.h"
#include "diff.h"

namespace orvdb {

void AddDiffCommand(CLI::App& app, Commands& out) {
  const auto o = std::make_shared<DiffOptions>();
  auto* diff = app.add_subcommand("diff", "Show what NEW changes against OLD: records, lookups, picture IDs");
  diff->add_option("OLD", o->oldPath, "Old database file, or its JSON form")->required();
  diff->add_option("NEW", o->newPath, "New database file, or its JSON form")->required();
  diff->add_option("--names", o->namesFile, "More names to look up, one a line");
  diff->add_option("--configs", o->configsFile, "Eval picture requests naming models, one a line");
  diff->add_flag("--summary", o->summary, "Print only the counts");
  diff->add_option("--fail-on", o->failOn,
                   "What makes the exit status 1: records, lookups (existing lookups that now answer otherwise), "
                   "new-names, pictures, any (the default); several with commas")
      ->delimiter(',')
      ->check(CLI::IsMember(std::vector<std::string>(std::begin(kFailOnClasses), std::end(kFailOnClasses))));
  diff->add_flag("--json", o->json, "Print one JSON object");
  out.push_back({diff, [o]() -> Outcome {
                   orvx::Result<bool> differs = Diff(*o, std::cout);
                   if (!differs) return std::move(differs).status();
                   return differs.value() ? kExitFallback : kExitOk;
                 }});
}

}  // namespace orvdb
