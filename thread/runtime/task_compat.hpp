// Classic reference-counted tasks for the LAPACK task graphs, built on the
// task runtime's low-level tasks.
//
// The factorization drivers describe their work as a graph: each task counts
// its unfinished predecessors, is spawned by the predecessor that brings the
// count to zero, runs a body that may name a task to run next on the same
// thread, and frees itself afterwards.  The runtime offers a leaner model (a
// task with execute/cancel over an execution record, an explicit wait counter,
// spawn into a task group context); the few classes here rebuild the classic
// one on top of it.  This header is the only file of the library that names
// the runtime's low-level task interface.
//
// Life of a graph task:
//   task::allocate<T>(...)      zero-filled, 128-byte aligned, count 0
//   increment_ref_count()       once per edge into it, while the graph is built
//   ready (count 0)             pushed on a task_list by the builder, or spawned
//                               by the predecessor whose decrement reached 0
//   execute()                   the body; the task's runtime entry then destroys
//                               it and returns its memory to the core's allocator
//
// A graph ends in an empty_task sink that never runs.  Its count is the number
// of final tasks plus one for its owner; the decrement that leaves 1 wakes the
// owner, who waits in spawn_and_wait_for_all and then destroys the sink:
//
//   sink = task::allocate<empty_task>();    P0 -> A, P0 -> B, A -> sink, B -> sink
//   edges ...                               sink count 2, +1 owner = 3
//   sink->increment_ref_count();            ready = [P0]
//   sink->spawn_and_wait_for_all(ready);    returns after A and B released it
//   task::destroy(sink);
//
// Like the parallel loops, a graph runs in a task group context of its own,
// which a caller's cancellation does not reach, and in an isolated region of
// the arena, so a waiting thread runs only tasks of its own graph.  There is
// no error path: a cancelled task, or an empty_task that is run, terminates
// the process, which can only happen when a body breaks its contract (throws,
// or cancels its own group).  Bodies must not throw.
#pragma once

#include <orb/orb_service.h>

#include <oneapi/tbb/detail/_task.h>
#include <oneapi/tbb/task_arena.h>
#include <oneapi/tbb/task_group.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <exception>
#include <new>
#include <type_traits>
#include <utility>

namespace orb_lapack_tsq_compat::detail {

namespace low = tbb::detail::d1;

//! Alignment of every object of this layer and of the graphs built on it.
constexpr int kTaskAlignment = 128;

//! Allocates a T from the core's allocator, zero-filled before construction;
//! null when memory is short.
template <class T, class... Args>
T *construct_zeroed(Args &&...args) noexcept {
  static_assert(alignof(T) <= kTaskAlignment, "task objects are 128-byte aligned");
  void *p = orb_serv_allocate(static_cast<int64_t>(sizeof(T)), kTaskAlignment);
  if (!p) return nullptr;
  std::memset(p, 0, sizeof(T));
  // The compiler may drop a store to storage whose object's life has not
  // begun yet; this keeps the fill, so fields a constructor leaves alone read 0.
  asm volatile("" : : "r"(p) : "memory");
  return new (p) T(std::forward<Args>(args)...);
}

class task_list;

//! A classic task: a count of unfinished predecessors, a body that may hand
//! back the next task to run, and a runtime entry that frees the task after
//! its body ran.  Graph tasks derive from it and append their own fields.
class task : public low::task {
 public:
  task(const task &) = delete;
  task &operator=(const task &) = delete;

  //! A T built in memory of its own (128-byte aligned, zero-filled first);
  //! null when memory is short.  Graph builders check every allocation before
  //! they spawn anything.
  template <class T, class... Args>
  static T *allocate(Args &&...args) noexcept {
    static_assert(std::is_base_of<task, T>::value, "graph objects derive from task");
    return construct_zeroed<T>(std::forward<Args>(args)...);
  }

  //! Destroys and frees a task that will not run: the sink after its wait, or
  //! the tasks of a graph abandoned before anything was spawned.
  static void destroy(task *t) noexcept {
    if (!t) return;
    t->~task();
    orb_serv_deallocate(t);
  }

  //! The runtime's entry: runs the body with the execution record at hand,
  //! then destroys and frees this task, and returns the body's next task,
  //! which the runtime runs at once on this thread.
  low::task *execute(low::execution_data &ed) noexcept final {
    ed_ = &ed;
    task *next = execute();
    ed_ = nullptr;
    this->~task();
    orb_serv_deallocate(this);
    return next;
  }

  //! Cancellation is never expected; a cancelled task would strand its
  //! successors and the waiter, so the process ends instead.
  low::task *cancel(low::execution_data &) noexcept final { std::terminate(); }

  //! The body.  Returns the task to run next on this thread, or null.
  virtual task *execute() = 0;

  //! One predecessor finished: the count after it, which exactly one caller
  //! sees reach 0.
  virtual int decrement_ref_count() noexcept { return ref_count_.fetch_sub(1, std::memory_order_seq_cst) - 1; }

  //! One more predecessor (an edge into this task, while the graph is built).
  int increment_ref_count() noexcept { return ref_count_.fetch_add(1, std::memory_order_seq_cst) + 1; }
  void set_ref_count(int count) noexcept { ref_count_.store(count, std::memory_order_seq_cst); }
  int ref_count() const noexcept { return ref_count_.load(std::memory_order_seq_cst); }

  //! Runs every task of `list` as a root, in list order, and returns when
  //! each of them, and every task a root handed back to run next, has run and
  //! been freed.  The list is empty afterwards.  Tasks that the roots spawn
  //! are not waited for; a graph waits for those through its sink.
  static void spawn_root_and_wait(task_list &list) noexcept;

 protected:
  task() = default;
  ~task() override = default;

  //! Spawns `t` into the task group context this task runs in.  Only from the
  //! body.
  void spawn(task &t) noexcept {
    if (!ed_) std::terminate();
    low::spawn(t, *ed_->context);
  }

  //! The end of a graph task's body: one decrement per successor, in array
  //! order, spawning each one that becomes ready.  A sink must come last in
  //! the array: once its release wakes the owner, the graph's shared storage,
  //! this array included, may be gone.
  void release(task *const *successors, int64_t count) noexcept {
    for (int64_t i = 0; i < count; ++i) {
      task *s = successors[i];
      if (s->decrement_ref_count() == 0) spawn(*s);
    }
  }

 private:
  friend class task_list;

  low::execution_data *ed_ = nullptr;  //!< set only while the body runs
  task *next_ = nullptr;                //!< link of a task_list
  std::atomic<int32_t> ref_count_{0};   //!< unfinished predecessors (+1 for a sink's owner)
};

//! A graph's sink: never runs, and wakes its owner when its count falls to 1.
class empty_task final : public task {
 public:
  empty_task() = default;

  //! A sink that is run terminates the process: it was spawned by mistake.
  task *execute() override { std::terminate(); }

  //! Counts down like any task; the decrement that leaves only the owner's
  //! reference wakes the owner.  Nothing of the sink is touched after that.
  int decrement_ref_count() noexcept override {
    const int left = task::decrement_ref_count();
    if (left == 1) done_.release();
    return left;
  }

  //! Spawns the ready tasks in list order into a context of their own and
  //! waits, running tasks of the graph meanwhile, until only the owner's
  //! reference is left.  The list is empty afterwards.  A sink that still
  //! has predecessors but nothing ready could never be released: the process
  //! ends instead of hanging.
  void spawn_and_wait_for_all(task_list &ready) noexcept;

 private:
  low::wait_context done_{0};  //!< 1 while the owner waits for the final tasks
};

//! A singly linked list of tasks through their `next` field, in push order.
class task_list {
 public:
  task_list() noexcept = default;
  task_list(const task_list &) = delete;  // tail_ points into the object
  task_list &operator=(const task_list &) = delete;

  bool empty() const noexcept { return head_ == nullptr; }

  void push_back(task &t) noexcept {
    t.next_ = nullptr;
    *tail_ = &t;
    tail_ = &t.next_;
  }

  //! The first task, unlinked; null when the list is empty.
  task *pop_front() noexcept {
    task *t = head_;
    if (!t) return nullptr;
    head_ = t->next_;
    if (!head_) tail_ = &head_;
    t->next_ = nullptr;
    return t;
  }

 private:
  task *head_ = nullptr;
  task **tail_ = &head_;  //!< the `next` field of the last task, or head_ when empty
};

inline void task::spawn_root_and_wait(task_list &list) noexcept {
  //! Runs one root and counts it off the waiter's counter.  A root's next
  //! task runs here as well, before the root counts as done, so that the
  //! waiter never returns while it is still to run.
  class root_task_wrapper final : public low::task {
   public:
    root_task_wrapper(low::wait_context &done, task &root) : done_(&done), root_(&root) {}

    low::task *execute(low::execution_data &ed) noexcept override {
      low::task *next = root_->execute(ed);
      while (next) next = ed.context->is_group_execution_cancelled() ? next->cancel(ed) : next->execute(ed);
      low::wait_context &done = *done_;
      this->~root_task_wrapper();
      orb_serv_deallocate(this);
      done.release();
      return nullptr;
    }

    low::task *cancel(low::execution_data &) noexcept override { std::terminate(); }

   private:
    ~root_task_wrapper() override = default;

    low::wait_context *done_;
    task *root_;
  };

  low::wait_context done{0};
  tbb::task_group_context context(tbb::task_group_context::isolated);
  tbb::this_task_arena::isolate([&] {
    while (task *root = list.pop_front()) {
      root_task_wrapper *w = construct_zeroed<root_task_wrapper>(done, *root);
      if (!w) {
        // No memory for the wrapper: the root runs here and now, on the
        // calling thread, with the runtime's own bookkeeping.
        low::execute_and_wait(*root, context, done, context);
        continue;
      }
      done.reserve();
      low::spawn(*w, context);
    }
    low::wait(done, context);
  });
}

inline void empty_task::spawn_and_wait_for_all(task_list &ready) noexcept {
  if (ref_count() > 1) {
    if (ready.empty()) std::terminate();
    done_.reserve();
  }
  tbb::task_group_context context(tbb::task_group_context::isolated);
  tbb::this_task_arena::isolate([&] {
    while (task *t = ready.pop_front()) low::spawn(*t, context);
    low::wait(done_, context);
  });
}

static_assert(sizeof(task) == 128, "a classic task fills two cache lines");
static_assert(sizeof(empty_task) == 128, "a sink is the size of a task");

}  // namespace orb_lapack_tsq_compat::detail
