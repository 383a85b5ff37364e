// The progress and pivot installers, one table of steps run on each hook in
// turn: "set" installs and returns what was in use (the default while nothing
// is installed), set(NULL) puts the default back, and the "interface"
// installer fills an empty slot only.
#include <orb/orb_service.h>

#include <gtest/gtest.h>

namespace orb::test {
namespace {

// Who answered a call: a null function, the default, or the first or second
// function installed here (told apart by their results, 11 and 12).
enum Answer { kNull = 0, kDefault = 1, kFirst = 11, kSecond = 12 };

// Each hook: its installers, the library's call through it, two functions to
// install, and who answers a call made through a function of its type.
struct ProgressHook {
  using Fn = orb_progress_fn;
  static Fn set(Fn fn) { return orb_serv_set_progress(fn); }
  static Fn set_interface(Fn fn) { return orb_serv_set_progress_interface(fn); }
  static constexpr Fn call = orb_serv_progress;
  static constexpr Fn fns[] = {nullptr, [](int *, int *, char *, int) { return 11; },
                               [](int *, int *, char *, int) { return 12; }};
  static int answer(Fn fn) {
    int thread = 0, step = 0;
    char stage[] = "stage";
    const int r = fn ? fn(&thread, &step, stage, 5) : -1;
    return r < 0 ? kNull : r == 0 ? kDefault : r;  // the default returns 0
  }
};

struct PivotHook {
  using Fn = orb_pivot_fn;
  static Fn set(Fn fn) { return orb_serv_set_kestrel_pivot(fn); }
  static Fn set_interface(Fn fn) { return orb_serv_set_kestrel_pivot_interface(fn); }
  static constexpr Fn call = orb_serv_kestrel_pivot;
  static constexpr Fn fns[] = {nullptr, [](const void *, double *, const double *) { return 11; },
                               [](const void *, double *, const double *) { return 12; }};
  static int answer(Fn fn) {
    double a = 0.0;
    const double eps = 0.5;
    const int r = fn ? fn(nullptr, &a, &eps) : -1;
    return r < 0 ? kNull : r == 1 && a == -eps ? kDefault : r;  // the default turns a zero pivot into -eps
  }
};

struct Step {
  const char *what;
  bool interface;   // the interface installer, else "set"
  int argument;     // 0: NULL, 1: the first function, 2: the second
  int returned;  // who answers through what the installer returns
  int in_use;    // who answers the hook's call afterwards
};

// Run in this order, from an empty slot.
constexpr Step kSteps[] = {
    {"set on the empty slot returns the default", false, 1, kDefault, kFirst},
    {"the interface installer leaves an installed hook", true, 2, kFirst, kFirst},
    {"set replaces and returns the previous hook", false, 2, kFirst, kSecond},
    {"set(NULL) puts the default back", false, 0, kSecond, kDefault},
    {"set(NULL) on the empty slot returns the default, not NULL", false, 0, kDefault, kDefault},
    {"the interface installer fills the empty slot", true, 1, kDefault, kFirst},
    {"set(NULL) empties it again", false, 0, kFirst, kDefault},
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
  ASSERT_EQ(Hook::answer(Hook::call), kDefault) << "a hook was left installed";
  for (const Step &s : kSteps) {
    SCOPED_TRACE(s.what);
    const auto fn = Hook::fns[s.argument];
    EXPECT_EQ(Hook::answer(s.interface ? Hook::set_interface(fn) : Hook::set(fn)), s.returned);
    EXPECT_EQ(Hook::answer(Hook::call), s.in_use);
  }
}

}  // namespace
}  // namespace orb::test
