// The platform seam is whole on both systems: every operation a header of platform/ declares is
// defined once for every system (in the header, or in a source of platform/ itself) or else in
// a source of linux/ and in a source of macos/. The Mac's sources are never compiled on Linux,
// so without this check an operation the Mac lacks would first show as a link error on a Mac.
//
// The sources are read as C++ (and Objective-C++) text: comments, literals and preprocessor
// lines dropped, function bodies and initialisers skipped by their braces, every declaration
// and definition named with its namespaces and classes and counted by its parameters, so an
// overload missing on one side is found as well as a missing function.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "support/temp_dir.h"

namespace dw {
namespace {

namespace fs = std::filesystem;

// The tokens of a source: identifiers, numbers and punctuation ("::" and "->" as one), each
// string or character literal as "\"\"", without comments and preprocessor lines.
std::vector<std::string> tokensOf(std::string_view s) {
  std::vector<std::string> out;
  size_t i = 0;
  bool lineStart = true;
  auto isIdent = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; };
  while (i < s.size()) {
    char c = s[i];
    if (c == '\n') {
      lineStart = true;
      ++i;
      continue;
    }
    if (std::isspace(static_cast<unsigned char>(c))) {
      ++i;
      continue;
    }
    if (lineStart && c == '#') {  // a preprocessor line, with its continuations
      while (i < s.size() && !(s[i] == '\n' && s[i - 1] != '\\'))
        ++i;
      continue;
    }
    lineStart = false;
    if (s.substr(i, 2) == "//") {
      i = s.find('\n', i);
      if (i == std::string_view::npos) break;
      continue;
    }
    if (s.substr(i, 2) == "/*") {
      size_t end = s.find("*/", i + 2);
      i = end == std::string_view::npos ? s.size() : end + 2;
      continue;
    }
    if (s.substr(i, 2) == "R\"") {  // a raw string: R"delimiter( ... )delimiter"
      size_t open = s.find('(', i);
      std::string close = ")" + std::string(s.substr(i + 2, open - i - 2)) + "\"";
      size_t end = s.find(close, open);
      i = end == std::string_view::npos ? s.size() : end + close.size();
      out.emplace_back("\"\"");
      continue;
    }
    if (c == '"' || c == '\'') {
      ++i;
      while (i < s.size() && s[i] != c) {
        i += s[i] == '\\' ? 2 : 1;
      }
      ++i;
      out.emplace_back("\"\"");
      continue;
    }
    if (std::isdigit(static_cast<unsigned char>(c))) {
      size_t start = i;
      while (i < s.size() && (isIdent(s[i]) || s[i] == '.' || s[i] == '\''))
        ++i;
      out.emplace_back(s.substr(start, i - start));
      continue;
    }
    if (isIdent(c)) {
      size_t start = i;
      while (i < s.size() && isIdent(s[i]))
        ++i;
      out.emplace_back(s.substr(start, i - start));
      continue;
    }
    if (s.substr(i, 2) == "::" || s.substr(i, 2) == "->") {
      out.emplace_back(s.substr(i, 2));
      i += 2;
      continue;
    }
    out.emplace_back(1, c);
    ++i;
  }
  return out;
}

bool isIdentifier(const std::string& t) {
  return !t.empty() && (std::isalpha(static_cast<unsigned char>(t[0])) || t[0] == '_');
}

// A function as the seam knows it: "dw::platform::moveToTrash/3".
struct Functions {
  std::set<std::string> declared;  // declared without a body
  std::set<std::string> defined;   // with a body (or "= default"), outside unnamed namespaces
};

void read(const std::vector<std::string>& t, Functions& found) {
  struct Scope {
    std::string name;  // "" for an unnamed namespace or a linkage block
    bool internal;     // an unnamed namespace: nothing in it is the seam's
    bool isClass;
  };
  std::vector<Scope> scopes;
  std::vector<std::string> statement;
  int parens = 0;

  auto skipBraces = [&](size_t& i) {  // from a "{" to its "}"
    for (int depth = 0; i < t.size(); ++i) {
      if (t[i] == "{") ++depth;
      if (t[i] == "}" && --depth == 0) return;
    }
  };
  auto has = [&](std::string_view word) {
    return std::find(statement.begin(), statement.end(), word) != statement.end();
  };
  // The function a statement declares or defines, or "" when it declares none.
  auto functionOf = [&](bool definition) -> std::string {
    if (statement.empty()) return {};
    static const std::set<std::string> notFunctions = {
        "using", "typedef", "friend", "static_assert", "return", "operator", "extern"};
    for (const auto& word : notFunctions)
      if (has(word)) return {};
    // The first parenthesised group outside template brackets, right after a name.
    int angles = 0;
    size_t open = std::string::npos;
    for (size_t k = 0; k < statement.size(); ++k) {
      const std::string& w = statement[k];
      if (w == "=") return {};  // a variable with its initial value
      if (w == "<" && k > 0 && (isIdentifier(statement[k - 1]) || statement[k - 1] == ">"))
        ++angles;
      if (w == ">" && angles > 0) --angles;
      if (w == "(" && angles == 0) {
        if (k > 0 && isIdentifier(statement[k - 1])) open = k;
        break;
      }
    }
    if (open == std::string::npos) return {};
    static const std::set<std::string> notNames = {"decltype", "sizeof",        "alignof",
                                                   "alignas",  "__attribute__", "noexcept"};
    if (notNames.contains(statement[open - 1])) return {};
    // Its parameters, and what follows them.
    int depth = 0, commas = 0;
    bool any = false;
    size_t close = open;
    for (size_t k = open; k < statement.size(); ++k) {
      if (statement[k] == "(") ++depth;
      if (statement[k] == ")" && --depth == 0) {
        close = k;
        break;
      }
      if (k > open) {
        if (depth == 1 && statement[k] == ",") ++commas;
        any = true;
      }
    }
    bool voidOnly = close == open + 2 && statement[open + 1] == "void";
    int arity = !any || voidOnly ? 0 : commas + 1;
    bool special = false;  // "= 0", "= default", "= delete"
    for (size_t k = close + 1; k + 1 < statement.size(); ++k) {
      if (statement[k] == "=") special = true;
    }
    bool defaulted = special && statement.back() == "default";
    if (special && !(definition && defaulted)) return {};
    // The name with the qualifiers written before it (Class::name, ~Class).
    std::string name = statement[open - 1];
    for (size_t k = open - 1; k >= 2 && statement[k - 1] == "::" && isIdentifier(statement[k - 2]);
         k -= 2) {
      name = statement[k - 2] + "::" + name;
    }
    if (open >= 2 && statement[open - 2] == "~") name = "~" + name;
    std::string qualified;
    for (const Scope& s : scopes) {
      if (s.internal) return {};
      if (!s.name.empty()) qualified += s.name + "::";
    }
    // A function of internal linkage is no one else's.
    bool inClass = !scopes.empty() && scopes.back().isClass;
    if (!inClass && !statement.empty() && statement.front() == "static") return {};
    return qualified + name + "/" + std::to_string(arity);
  };

  for (size_t i = 0; i < t.size(); ++i) {
    const std::string& w = t[i];
    if (w == "{") {
      if (parens > 0) {  // a lambda or a braced value among the parameters
        skipBraces(i);
        continue;
      }
      if (!statement.empty() && (statement.front() == "namespace" ||
                                 (statement.front() == "inline" && has("namespace")))) {
        std::string name;
        for (const auto& part : statement) {
          if (part != "namespace" && part != "inline") name += part;
        }
        scopes.push_back({name, name.empty(), false});
        statement.clear();
        continue;
      }
      if (has("extern") && statement.size() == 2) {  // extern "C"
        scopes.push_back({"", false, false});
        statement.clear();
        continue;
      }
      bool callable = has("(") && !has("=");
      if (callable) {
        std::string f = functionOf(true);
        if (!f.empty()) found.defined.insert(f);
        skipBraces(i);
        statement.clear();
        continue;
      }
      auto key = std::find_if(statement.begin(), statement.end(), [](const std::string& x) {
        return x == "class" || x == "struct" || x == "union";
      });
      if (key != statement.end() && !has("=") && key + 1 != statement.end()) {
        auto name = key + 1;
        if (*name == "alignas" || *name == "[") ++name;
        scopes.push_back({isIdentifier(*name) ? *name : "", false, true});
        statement.clear();
        continue;
      }
      skipBraces(i);  // an initial value, an enumeration, an Objective-C block of declarations
      if (!has("=")) statement.clear();
      continue;
    }
    if (w == "}") {
      if (!scopes.empty()) scopes.pop_back();
      statement.clear();
      continue;
    }
    if (w == ";" && parens == 0) {
      std::string f = functionOf(false);
      if (!f.empty()) {
        bool defaulted = !statement.empty() && statement.back() == "default";
        (defaulted ? found.defined : found.declared).insert(f);
      }
      statement.clear();
      continue;
    }
    if (w == ":" && statement.size() == 1 &&
        (statement[0] == "public" || statement[0] == "private" || statement[0] == "protected")) {
      statement.clear();
      continue;
    }
    if (w == "(") ++parens;
    if (w == ")") --parens;
    statement.push_back(w);
  }
}

Functions readFile(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  Functions found;
  read(tokensOf(text.str()), found);
  return found;
}

std::set<std::string> definedIn(const fs::path& folder, bool sources) {
  std::set<std::string> defined;
  if (!fs::is_directory(folder)) return defined;
  for (const auto& entry : fs::directory_iterator(folder)) {
    std::string ext = entry.path().extension().string();
    bool wanted = sources ? (ext == ".cpp" || ext == ".mm") : ext == ".h";
    if (!entry.is_regular_file() || !wanted) continue;
    defined.merge(readFile(entry.path()).defined);
  }
  return defined;
}

struct Report {
  std::set<std::string> operations;  // every operation the headers declare
  std::vector<std::string> faults;   // "dw::platform::isPackage/1: no macOS implementation"
};

// The seam's operations in folder/*.h and where each is defined: folder's own sources and
// headers for every system, linux/ and macos/ for one each.
Report checkSeam(const fs::path& folder) {
  Report report;
  std::set<std::string> declared;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.is_regular_file() && entry.path().extension() == ".h")
      declared.merge(readFile(entry.path()).declared);
  }
  std::set<std::string> common = definedIn(folder, true);
  common.merge(definedIn(folder, false));
  const std::set<std::string> linux = definedIn(folder / "linux", true);
  const std::set<std::string> macos = definedIn(folder / "macos", true);
  report.operations = declared;
  for (const auto& d : common)
    report.operations.insert(d);
  for (const std::string& op : declared) {
    bool shared = common.contains(op), onLinux = linux.contains(op), onMac = macos.contains(op);
    if (shared && (onLinux || onMac)) {
      report.faults.push_back(op + ": defined for every system and again in " +
                              (onLinux ? "linux/" : "macos/"));
    } else if (!shared && !onLinux && !onMac) {
      report.faults.push_back(op + ": no implementation");
    } else if (!shared && !onMac) {
      report.faults.push_back(op + ": no macOS implementation");
    } else if (!shared && !onLinux) {
      report.faults.push_back(op + ": no Linux implementation");
    }
  }
  return report;
}

void write(const std::string& path, std::string_view text) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream(path) << text;
}

TEST(PlatformSeam, FindsEveryOperationMissingOnOneSystem) {
  test::TempDir dir;
  write(dir / "platform/thing.h", R"src(#pragma once
// thing(a, b) is documented here; so is "other(c)".
namespace dw::platform {
int thing(int a, int b = 0);
int thing(const std::function<bool(int)>& f = [](int x) { return x > 0; });
inline constexpr std::string_view kUrls[] = {"a(b)", "c"};
struct Result {
  bool ok() const { return true; }
  static Result failed(int error);
  bool operator==(const Result&) const = default;
};
class Box {
 public:
  explicit Box(std::string file);
  virtual ~Box() = default;
  virtual bool open() const = 0;
  bool put(std::string_view key, bool value);
 private:
  std::string file_;
};
namespace share {
bool probe(const std::string& path);
}
}  // namespace dw::platform
)src");
  write(dir / "platform/thing.cpp", R"src(#include "thing.h"
namespace dw::platform {
Result Result::failed(int) { return {}; }
}
)src");
  write(dir / "platform/linux/thing_linux.cpp", R"src(
namespace dw::platform {
namespace {
int helper(int x) { return x; }
}
int thing(int a, int b) { return helper(a) + b; }
int thing(const std::function<bool(int)>& f) { return f(1); }
Box::Box(std::string file) : file_(std::move(file)) {}
bool Box::put(std::string_view, bool) { return true; }
bool share::probe(const std::string&) { return false; }
}
)src");
  write(dir / "platform/macos/thing_macos.mm", R"src(#import <Foundation/Foundation.h>
namespace dw::platform {
namespace {
bool probe(const std::string&) { return true; }  // not the seam's: an unnamed namespace
}
int thing(int a, int b) {
  @autoreleasepool {
    NSString* text = @"{";
    return a + b + static_cast<int>(text.length);
  }
}
Box::Box(std::string file) : file_(std::move(file)) {
  [[NSNotificationCenter defaultCenter] addObserverForName:@"x" object:nil queue:nil
      usingBlock:^(NSNotification* note) { (void)note; }];
}
bool Result::failed(int) { return {}; }
}
)src");
  Report r = checkSeam(dir / "platform");
  EXPECT_EQ(r.operations, (std::set<std::string>{
                              "dw::platform::Box::Box/1",
                              "dw::platform::Box::put/2",
                              "dw::platform::Result::failed/1",
                              "dw::platform::Result::ok/0",
                              "dw::platform::share::probe/1",
                              "dw::platform::thing/1",
                              "dw::platform::thing/2",
                          }));
  EXPECT_EQ(r.faults, (std::vector<std::string>{
                          "dw::platform::Box::put/2: no macOS implementation",
                          "dw::platform::Result::failed/1: defined for every system and again "
                          "in macos/",
                          "dw::platform::share::probe/1: no macOS implementation",
                          "dw::platform::thing/1: no macOS implementation",
                      }));
}

TEST(PlatformSeam, EveryOperationHasAnImplementationOnLinuxAndOnTheMac) {
  Report r = checkSeam(fs::path(DUSTWHALE_SOURCE_DIR) / "src/platform");
  // The reading found the seam at all: a few operations every build calls.
  for (const char* op : {"dw::platform::moveToTrash/3", "dw::platform::volumeCapacities/1",
                         "dw::platform::isPackage/1", "dw::platform::systemWorkspace/0",
                         "dw::platform::UserDefaults::setBool/2", "dw::platform::filesHeldOpen/1",
                         "dw::platform::share::shareBlocks/4"}) {
    EXPECT_TRUE(r.operations.contains(op)) << op;
  }
  EXPECT_GT(r.operations.size(), 60u);
  std::string faults;
  for (const auto& f : r.faults)
    faults += f + "\n";
  EXPECT_TRUE(r.faults.empty()) << faults;
}

}  // namespace
}  // namespace dw
