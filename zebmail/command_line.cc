/// NAME
///   command_line - all commands and options there are

#include "zebmail/command_line.h"

#include <cstdlib>
#include <memory>

#include "zebmail/help.h"

namespace zebmail {
namespace {

void AddGlobalOptions(CLI::App& app, Invocation& invocation) {
  const char* const from_environment = std::getenv("ZEBMAIL_CONFIG");
  const bool is_set = from_environment != nullptr && *from_environment != '\0';
  invocation.config = is_set ? from_environment : kDefaultConfig;
  Takes(invocation,
        app.add_option(
            "--config", invocation.config,
            "the configuration file, instead of $ZEBMAIL_CONFIG or " + std::string(kDefaultConfig)),
        {"FILE", Choice::kFile});
  app.add_flag("--json", invocation.json, "print one JSON document");
  app.add_flag("--dry-run", invocation.dry_run, "change nothing, show what would change");
  app.add_flag("--quiet", invocation.quiet, "print no confirmation when all went well");
}

}  // namespace

void BuildCommandLine(CLI::App& app, Invocation& invocation) {
  app.name("zebmail");
  app.description("run the mail of a Postfix server");
  app.require_subcommand(0, 1);
  app.fallthrough();
  app.set_help_flag("-h,--help",
                    "print the help of the program, or of the command before it; also -h");
  app.formatter(std::make_shared<HelpFormatter>(invocation.tree));
  AddGlobalOptions(app, invocation);
  AddInit(app, invocation);
  AddDomain(app, invocation);
  AddMailbox(app, invocation);
  AddAliasAndForward(app, invocation);
  AddResponder(app, invocation);
  AddSenderLists(app, invocation);
  AddWebDomains(app, invocation);
  AddSync(app, invocation);
  AddPostfixConfig(app, invocation);
  AddTransfer(app, invocation);
  AddCheck(app, invocation);
  AddTrace(app, invocation);
  Explain(app, invocation,
          "It turns the domains, mailboxes, aliases, forwards and automatic replies of a panel "
          "into the tables that Postfix reads. The options go with every command and can stand "
          "before or behind it.\n\nThe exit status is 0 for done, 1 for failed and 2 for wrong "
          "usage.",
          {"zebmail init", "zebmail domain create example.org",
           "zebmail mailbox create info@example.org", "zebmail check"});
}

}  // namespace zebmail
