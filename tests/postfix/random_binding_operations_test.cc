/// NAME
///   random_binding_operations_test - master.cf survives any row of bindings
///
/// PURPOSE
///   Binds, moves, unbinds and deletes domains at random, through the built plug-in, in the
///   master.cf that the package postfix brings, while an administrator writes comments, blank lines
///   and continuation lines in between. Every byte is compared with a plain model after every step;
///   now and then and in the end Postfix itself checks the file and says which services it reads,
///   and where it leads whose mail.

#include <algorithm>
#include <array>
#include <filesystem>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/postfix/back_end.h"
#include "tests/postfix/table_model.h"
#include "tests/support/command.h"

namespace {

using test_support::CommandRun;
using test_support::DomainPtr;
using test_support::DomainRow;
using test_support::TableModel;

using Lines = std::vector<std::string>;

constexpr unsigned kSeed = 20250404;
constexpr int kSteps = 500;

const char* const kPackagedFile = "/usr/share/postfix/master.cf.dist";

/// What an administrator wrote behind the packaged services before.
const std::string kHandMadeServices =
    "smtp_hand unix  -       -       y       -       -       smtp\n"
    "  -o syslog_name=postfix/hand\n"
    "\n"
    "smtp_tabbed\tunix\t-\t-\ty\t-\t-\tsmtp\t# with tabs\n"
    "# below\n"
    "\t-o smtp_helo_name=tabbed.example\n"
    "# no line feed here";

/// And into the map.
const std::string kHandMadeMap =
    "# transports, by hand\n"
    "\n"
    "/@slow\\.example$/   smtp_hand # ours\n"
    "/@one\\.example\\.net$/\tsmtp_tabbed";

struct Domain {
  const char* name;
  const char* pattern;
  const char* service;
};

constexpr std::array kDomains = {
    Domain{"one.example", "/@one\\.example$/", "smtp_one_example"},
    Domain{"two.one.example", "/@two\\.one\\.example$/", "smtp_two_one_example"},
    Domain{"one.example.org", "/@one\\.example\\.org$/", "smtp_one_example_org"},
    Domain{"a-b-1.example", "/@a-b-1\\.example$/", "smtp_a-b-1_example"},
    Domain{"xn--mller-kva.example", "/@xn--mller-kva\\.example$/", "smtp_xn--mller-kva_example"},
};

/// An address, the definition of the service that sends from it, and the address that is read back.
struct Address {
  const char* text;
  const char* definition;
  const char* read_back;
};

constexpr std::array kAddresses = {
    Address{"", "unix - - n - - smtp -o syslog_name=postfix- -o smtp_bind_address=", ""},
    Address{"192.0.2.10",
            "unix - - n - - smtp -o syslog_name=postfix-192_0_2_10 -o smtp_bind_address=192.0.2.10",
            "192.0.2.10"},
    Address{"192.0.2.11",
            "unix - - n - - smtp -o syslog_name=postfix-192_0_2_11 -o smtp_bind_address=192.0.2.11",
            "192.0.2.11"},
    Address{"2001:db8::5",
            "unix - - n - - smtp -o syslog_name=postfix-2001_db8__5"
            " -o smtp_bind_address6=2001:db8::5",
            ""},
    Address{"fd00::1:2",
            "unix - - n - - smtp -o syslog_name=postfix-fd00__1_2 -o smtp_bind_address6=fd00::1:2",
            ""},
};

/// The lines that the administrator adds meanwhile; no other line looks like one of these.
const std::string kNote = "# note ";
const std::string kBlankLine = " \t ";
const std::string kOption = "  -o smtp_helo_name=";

Lines LinesOf(const std::string& text) {
  std::istringstream stream(text);
  Lines lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

/// The words of the line with one blank between them.
std::string Squeezed(const std::string& line) {
  std::istringstream words(line);
  std::string squeezed;
  for (std::string word; words >> word;) squeezed += (squeezed.empty() ? "" : " ") + word;
  return squeezed;
}

/// A domain of the panel and, once it was bound, its service.
struct State {
  bool exists = false;
  const Address* bound = nullptr;
  Lines options;  ///< of the continuation lines under its service
};

class RandomBindingOperations : public test_support::BackEndTest {
 protected:
  RandomBindingOperations() {
    panel.SetText("master.cf", before_);
    panel.SetText("domainips", kHandMadeMap);
    panel.SetPath("postfix-postmap", "/usr/bin/true");
    panel.SetPath("postfix-bin", "/usr/bin/true");
    foreign_services_ = Services();
    const CommandRun run =
        test_support::RunCommand({ZEBMAIL_PRIVATE_POSTFIX "/set-up", Private(), "hash", "0"});
    if (run.status != 0) throw std::runtime_error(run.errors);
  }

  /// One random operation, on the tables and on the models; returns what it was.
  std::string Step() {
    const std::size_t index = random_() % kDomains.size();
    const Domain& domain = kDomains[index];
    State& state = states_[index];
    const Address& address = kAddresses[random_() % kAddresses.size()];
    DomainPtr row = DomainRow(domain.name);
    row->ip = address.text;
    if (!state.exists) {
      back_end.CreateDomain(row);
      state.exists = true;
      if (*address.text != '\0') Bind(index, address);
      return std::string("create ") + domain.name + " " + address.text;
    }
    if (random_() % 4 == 0) {
      back_end.DeleteDomain(row);
      Delete(index);
      return std::string("delete ") + domain.name;
    }
    back_end.UpdateDomain(row);
    Update(index, address);
    return std::string("update ") + domain.name + " " + address.text;
  }

  /// Writes one line into master.cf, or none, as an administrator may do at any time.
  std::string StepOfTheAdministrator() {
    const int number = ++notes_;
    switch (random_() % 8) {
      case 0:
        Insert(AnyLine(), kNote + std::to_string(number));
        return "a comment";
      case 1:
        Insert(AnyLine(), kBlankLine);
        return "a blank line";
      case 2:
        return InsertOption(random_() % kDomains.size(), "host-" + std::to_string(number));
      default:
        return "nothing";
    }
  }

  /// The services that Postfix reads in master.cf; it must have nothing to complain of.
  Lines Services() {
    test_support::WriteText(panel.postfix_dir() / "master.cf", panel.Text("master.cf"));
    const CommandRun run =
        test_support::RunCommand({"/usr/sbin/postconf", "-c", panel.postfix_dir(), "-M"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
    Lines services = LinesOf(run.output);
    std::transform(services.begin(), services.end(), services.begin(), Squeezed);
    return services;
  }

  /// What `postfix check` complains of, in a configuration that is whole but for master.cf.
  std::string Findings() const {
    test_support::WriteText(Private() / "postfix/master.cf", panel.Text("master.cf"));
    const CommandRun run =
        test_support::RunCommand({"/usr/sbin/postfix", "-c", Private() / "postfix", "check"});
    return run.status == 0 ? run.errors
                           : "status " + std::to_string(run.status) + ": " + run.errors;
  }

  Lines ExpectedServices() const {
    Lines services = foreign_services_;
    for (const std::size_t index : order_) {
      std::string service =
          std::string(kDomains[index].service) + " " + states_[index].bound->definition;
      for (const std::string& option : states_[index].options) service += " " + Squeezed(option);
      services.push_back(service);
    }
    return services;
  }

  /// master.cf without the services of the domains, their continuation lines and the notes.
  std::string ForeignText() const {
    std::string text;
    for (const std::string& line : LinesOf(panel.Text("master.cf"))) {
      const bool is_service =
          std::any_of(kDomains.begin(), kDomains.end(), [&line](const Domain& domain) {
            return line.starts_with(std::string(domain.service) + "\t");
          });
      const bool is_of_the_administrator =
          line.starts_with(kNote) || line == kBlankLine || line.starts_with(kOption);
      if (!is_service && !is_of_the_administrator) text += line + "\n";
    }
    return text;
  }

  /// The transport of the sender's mail, as Postfix finds it in the map.
  std::string TransportOf(const std::string& sender) const {
    const CommandRun run =
        test_support::RunCommand({"/usr/sbin/postmap", "-c", panel.postfix_dir(), "-q", sender,
                                  "regexp:" + panel.Table("domainips").string()});
    EXPECT_EQ(run.errors, "");
    return run.output.substr(0, run.output.find('\n'));
  }

  const std::string before_ = test_support::ReadText(kPackagedFile) + kHandMadeServices;
  TableModel services_{before_, ""};
  TableModel map_{kHandMadeMap, ""};
  std::array<State, kDomains.size()> states_;

 private:
  std::filesystem::path Private() const { return panel.folder().Path("private"); }

  void Bind(std::size_t index, const Address& address) {
    const Domain& domain = kDomains[index];
    map_.Append(std::string(domain.pattern) + "\t" + domain.service + "\n");
    services_.Append(std::string(domain.service) + "\t" + address.definition + "\n");
    states_[index].bound = &address;
    order_.push_back(index);
  }

  void Update(std::size_t index, const Address& address) {
    State& state = states_[index];
    if (state.bound == nullptr) {
      if (*address.text != '\0') Bind(index, address);
    } else if (std::string(address.text) != state.bound->read_back) {
      services_.Set(kDomains[index].service, address.definition);
      state.bound = &address;
    }
  }

  void Delete(std::size_t index) {
    if (states_[index].bound != nullptr) {
      services_.Delete(kDomains[index].service);
      map_.Delete(kDomains[index].pattern);
      order_.erase(std::find(order_.begin(), order_.end(), index));
    }
    states_[index] = {};
  }

  /// The number of a line that has a service on it or above it.
  std::size_t AnyLine() {
    const Lines lines = LinesOf(services_.Text());
    const auto first = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
      return !line.empty() && line[0] != '#';
    });
    const auto skipped = static_cast<std::size_t>(first - lines.begin());
    return skipped + random_() % (lines.size() - skipped);
  }

  /// Puts `text` below the line with that number.
  void Insert(std::size_t number, const std::string& text) {
    Lines lines = LinesOf(services_.Text());
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(number) + 1, text);
    std::string whole;
    for (const std::string& line : lines) whole += line + "\n";
    panel.SetText("master.cf", whole);
    services_ = TableModel(whole, "");
  }

  std::string InsertOption(std::size_t index, const std::string& value) {
    if (states_[index].bound == nullptr) return "nothing";
    const std::string service = std::string(kDomains[index].service) + "\t";
    const Lines lines = LinesOf(services_.Text());
    const auto line = std::find_if(lines.begin(), lines.end(), [&service](const auto& one) {
      return one.starts_with(service);
    });
    Insert(static_cast<std::size_t>(line - lines.begin()), kOption + value);
    states_[index].options.insert(states_[index].options.begin(), kOption + value);
    return "an option of " + service;
  }

  std::mt19937 random_{kSeed};
  std::vector<std::size_t> order_;  ///< the bound domains as their services stand in the file
  Lines foreign_services_;
  int notes_ = 0;
};

}  // namespace

TEST_F(RandomBindingOperations, LeaveServicesThatPostfixAcceptsAndEveryForeignByteInPlace) {
  SCOPED_TRACE("seed " + std::to_string(kSeed));
  for (int step = 1; step <= kSteps; ++step) {
    const std::string operation = Step();
    SCOPED_TRACE("step " + std::to_string(step) + ": " + operation);
    ASSERT_EQ(panel.Text("master.cf"), services_.Text());
    ASSERT_EQ(panel.Text("domainips"), map_.Text());
    const std::string written = StepOfTheAdministrator();
    if (step % 25 != 0) continue;
    ASSERT_EQ(Services(), ExpectedServices()) << "then " << written;
    if (step % 100 != 0) continue;
    ASSERT_EQ(Findings(), "") << "then " << written;
  }

  EXPECT_EQ(ForeignText(), before_ + "\n");
  for (std::size_t i = 0; i < kDomains.size(); ++i) {
    EXPECT_EQ(TransportOf(std::string("info@") + kDomains[i].name),
              states_[i].bound == nullptr ? "" : kDomains[i].service);
  }
  EXPECT_EQ(TransportOf("info@slow.example"), "smtp_hand # ours");
  EXPECT_EQ(TransportOf("info@one.example.net"), "smtp_tabbed");
  EXPECT_EQ(TransportOf("info@sub.one.example"), "");
}
