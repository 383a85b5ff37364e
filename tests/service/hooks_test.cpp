// The progress and pivot installers, one table of steps run on each hook in
// turn: "set" installs and returns what was in use (the default while nothing
// is installed), set(NULL) puts the default back, and the "interface"
// installer fills an empty slot only.
#include <orb/orb_service.h>

#include <gtest/gtest.h>

namespace orb::test {
namespace {

// Which function answered a call.
enum Answer { kNull, kDefault, kFirst, kSecond, kUnknown };
void PrintTo(Answer a, std::ostream *os) {
  static const char *const names[] = {"NULL", "the default", "first", "second", "an unknown function"};
  *os << names[a];
}

// Two installable functions per hook, told apart by their results.
constexpr int kFirstResult = 11, kSecondResult = 12;

Answer by_result(int result) {
  return result == kFirstResult ? kFirst : result == kSecondResult ? kSecond : kUnknown;
}

// Each hook: its installers, the library's call through it, two functions to
// install, and who answers a call made through a function of its type.
struct ProgressHook {
  using Fn = orb_progress_fn;
  static Fn set(Fn fn) { return orb_serv_set_progress(fn); }
  static Fn set_interface(Fn fn) { return orb_serv_set_progress_interface(fn); }
  static constexpr Fn call = orb_serv_progress;
  static int first(int *, int *, char *, int) { return kFirstResult; }
  static int second(int *, int *, char *, int) { return kSecondResult; }
  static Answer answer(Fn fn) {
    if (!fn) return kNull;
    int thread = 0, step = 0;
    char stage[] = "stage";
    const int r = fn(&thread, &step, stage, 5);
    return r == 0 ? kDefault : by_result(r);  // the default returns 0
  }
};

struct PivotHook {
  using Fn = orb_pivot_fn;
  static Fn set(Fn fn) { return orb_serv_set_kestrel_pivot(fn); }
  static Fn set_interface(Fn fn) { return orb_serv_set_kestrel_pivot_interface(fn); }
  static constexpr Fn call = orb_serv_kestrel_pivot;
  static int first(const void *, double *, const double *) { return kFirstResult; }
  static int second(const void *, double *, const double *) { return kSecondResult; }
  static Answer answer(Fn fn) {
    if (!fn) return kNull;
    double a = 0.0;
    const double eps = 0.5;
    const int r = fn(nullptr, &a, &eps);
    return r == 1 && a == -eps ? kDefault : by_result(r);  // the default turns a zero pivot into -eps
  }
};

enum Installer { kSet, kSetInterface };
enum Argument { kNone, kFirstFn, kSecondFn };

struct Step {
  const char *what;
  Installer installer;
  Argument argument;
  Answer returned;  // what the installer returns
  Answer in_use;    // who answers the hook's call afterwards
};

// Run in this order, from an empty slot.
constexpr Step kSteps[] = {
    {"set on the empty slot returns the default", kSet, kFirstFn, kDefault, kFirst},
    {"the interface installer leaves an installed hook", kSetInterface, kSecondFn, kFirst, kFirst},
    {"set replaces and returns the previous hook", kSet, kSecondFn, kFirst, kSecond},
    {"set(NULL) puts the default back", kSet, kNone, kSecond, kDefault},
    {"set(NULL) on the empty slot returns the default, not NULL", kSet, kNone, kDefault, kDefault},
    {"the interface installer fills the empty slot", kSetInterface, kFirstFn, kDefault, kFirst},
    {"set(NULL) empties it again", kSet, kNone, kFirst, kDefault},
};

template <class Hook>
class HookInstallers : public ::testing::Test {
 protected:
  void TearDown() override { Hook::set(nullptr); }
};
using Hooks = ::testing::Types<ProgressHook, PivotHook>;
TYPED_TEST_SUITE(HookInstallers, Hooks);

TYPED_TEST(HookInstallers, FollowTheSetAndInterfaceRules) {
  using Hook = TypeParam;
  using Fn = typename Hook::Fn;
  ASSERT_EQ(Hook::answer(Hook::call), kDefault) << "a hook was left installed";
  for (const Step &s : kSteps) {
    SCOPED_TRACE(s.what);
    const Fn fn = s.argument == kFirstFn ? Hook::first : s.argument == kSecondFn ? Hook::second : nullptr;
    const Fn returned = s.installer == kSet ? Hook::set(fn) : Hook::set_interface(fn);
    EXPECT_EQ(Hook::answer(returned), s.returned);
    EXPECT_EQ(Hook::answer(Hook::call), s.in_use);
  }
}

}  // namespace
}  // namespace orb::test
