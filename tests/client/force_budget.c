/* Preloaded into a program that never sets a budget (the reference test
 * programs), this gives its main thread a budget of 4, so that orb's threaded
 * drivers cut its calls whatever the machine's core count. */
#include <orb/orb_service.h>

__attribute__((constructor)) static void force_budget(void) { orb_serv_set_num_threads_local(4); }
