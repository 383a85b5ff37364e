/* orb: services of the core library and thread control of the threading layer.
 *
 * Service functions take and return 32-bit integers by value.  The thread
 * budget that every threaded driver uses is orb_serv_get_max_threads(): the
 * calling thread's own setting when positive, else the number of physical cores
 * visible through the process's affinity mask. */
#ifndef ORB_SERVICE_H
#define ORB_SERVICE_H

#include <orb/orb_types.h>
#include <stdio.h>

ORB_BEGIN_DECLS

/* ---- Core library (liborb_core.so.2) ---------------------------------- */

/* Copies the value of environment variable name into buf (at most size-1
 * characters, always terminated when size > 0); returns the value's length,
 * or a number below 1 when the variable is absent. */
int orb_serv_getenv(const char *name, char *buf, int size);

/* Spin-then-yield lock on a caller-owned lock word (0 = free). */
void orb_serv_lock(volatile int *lock_word);
void orb_serv_unlock(volatile int *lock_word);

/* Aligned allocation; a request of 0 or fewer bytes returns NULL.  The two
 * pairs behave alike and exist so that callers can be observed separately. */
void *orb_serv_allocate(int64_t bytes, int alignment);
void orb_serv_deallocate(void *ptr);
void *orb_serv_malloc(int64_t bytes, int alignment);
void orb_serv_free(void *ptr);

/* Ends the process with the given exit code. */
void orb_serv_exit(int code);

/* Prints catalogue message `number` to stream 0 (standard output) or 1 (the
 * error stream); the variable arguments are the message's own, `nargs` of
 * them.  Returns the number of characters written, or -1 for an unknown
 * message or an argument count that does not match the message. */
int orb_serv_print(int stream, int number, int nargs, ...);

/* Formatted print to stream 0 (standard output) or 1 (the error stream). */
int orb_serv_printf_stream(int stream, const char *format, ...);

/* File helpers used by the verbose report. */
FILE *orb_serv_fopen(const char *name, const char *mode);
int orb_serv_fclose(FILE *file);
int orb_serv_fprintf(FILE *file, const char *format, ...);

/* Appends formatted text to the terminated string in buf of size bytes,
 * never writing past it; returns the new length. */
int orb_serv_append_format(char *buf, size_t size, const char *format, ...);
/* Copies at most n characters of src into dst (size bytes), terminated. */
int orb_serv_strncpy_s(char *dst, size_t size, const char *src, size_t n);

/* Reproducibility mode, read once from ORB_CBWR.
 * what = 1: the branch code (1 OFF, 2 AUTO, 3 COMPATIBLE, 4 SSE2, 6 SSSE3,
 * 7 SSE4_1, 8 SSE4_2, 9 AVX, 10 AVX2, 12 AVX512); what = -1: the same code
 * with bit 16 (ORB_CBWR_STRICT) set when strict mode was asked for. */
#define ORB_CBWR_STRICT 0x10000
int orb_serv_cbwr_get(int what);

/* Instruction-set level of this processor: 0 generic x86-64, 1 SSE4.2,
 * 2 AVX, 3 AVX2, 4 AVX-512. */
int orb_serv_cpu_detect(void);

/* Balanced split of n items over nthr workers: worker ithr gets [*first,
 * *first + *count); the first n mod nthr workers get one item more. */
void orb_serv_divbythreadsnb(ORB_INT n, ORB_INT nthr, ORB_INT ithr, ORB_INT *first, ORB_INT *count);

/* Gives up the processor (sleep(0)). */
void orb_serv_thread_yield(void);

/* 1 when the two characters are equal ignoring case, else 0. */
int orb_serv_lsame(const char *a, const char *b);

/* Version record: major, minor, update, and four texts. */
typedef struct {
  int major;
  int minor;
  int update;
  const char *status;    /* release status, e.g. "Product" */
  const char *build;     /* build date, yyyymmdd */
  const char *processor; /* processor family the build targets */
  const char *platform;  /* platform word */
} OrbVersion;
void orb_serv_get_version(OrbVersion *version);
/* The same as "major.minor.update" in buf; returns buf. */
const char *orb_serv_get_version_string(char *buf, int size);

/* Highest processor frequency in GHz, 0 when unknown. */
double orb_serv_get_max_cpu_frequency(void);

/* 0 when the fast memory manager is on (the default), 1 when ORB_DISABLE_FAST_MM
 * turned it off. */
int orb_serv_get_fast_mm_status(void);

/* Verbose mode (ORB_VERBOSE=1) and its output file (ORB_VERBOSE_OUTPUT_FILE);
 * the file name is an empty text when none is named. */
int orb_serv_verbose_mode(void);
const char *orb_serv_verbose_output_file_mode(void);

/* MPI function table for the distributed solve pieces; every entry is NULL
 * until an MPI wrapper library fills it. */
typedef struct {
  int (*comm_size)(void *comm, int *size);
  int (*comm_rank)(void *comm, int *rank);
  int (*allreduce)(const void *send, void *recv, int count, int type, int op, void *comm);
  int (*gather)(const void *send, int scount, void *recv, int rcount, int type, int root, void *comm);
} OrbMpiWrappers;
OrbMpiWrappers *orb_serv_get_mpi_wrappers(void);

/* Path of the kernel provider the core bound, or NULL when none is loaded yet. */
const char *orb_serv_provider_path(void);

/* What the kernel provider says about itself: the name of the kernel set it
 * runs, and its build configuration; NULL where it does not say.  Each binds
 * the provider first when no kernel call has (a provider that cannot be bound
 * ends the process, as a kernel call would). */
const char *orb_serv_provider_kernels(void);
const char *orb_serv_provider_config(void);

/* The second kernel provider, which computes the products it is faster at:
 * its path and the name of the configuration it runs (NULL where it does not
 * say), or NULL for both when the process has none.  Each opens it first when
 * no kernel call has. */
const char *orb_serv_provider2_path(void);
const char *orb_serv_provider2_config(void);

/* ---- Threading layer (liborb_tsq_thread.so.2) ------------------------ */

/* Thread budget and settings. */
int orb_serv_get_max_threads(void);
int orb_serv_set_num_threads_local(int n);
int orb_serv_set_num_threads(int n);
int orb_serv_domain_set_num_threads(int n, int domain);
int orb_serv_domain_get_max_threads(int domain);
int orb_serv_set_dynamic(int flag);
int orb_serv_get_dynamic(void);
int orb_serv_set_num_stripes(int n);
int orb_serv_get_num_stripes(void);
int orb_serv_omp_in_parallel(void);
int orb_serv_mpi_safe(void);
int orb_serv_get_thread_layer(void);

/* Topology (read once, on the first query that needs it). */
int orb_serv_get_ncpus(void);
int orb_serv_get_ncorespercpu(void);
int orb_serv_get_nlogicalcores(void);
int orb_serv_get_ht(void);
int orb_serv_mpi_get_ppn(void);

/* What the environment reader recorded, for reports such as orb-info.
 * -1 means "unset"; reading this triggers the one-time environment read. */
typedef struct {
  int num_threads;      /* ORB_NUM_THREADS, or domain ORB_DOMAIN_ALL */
  int num_stripes;      /* ORB_NUM_STRIPES */
  int blas_threads;     /* domain ORB_DOMAIN_BLAS */
  int fft_threads;      /* domain ORB_DOMAIN_FFT */
  int ewf_threads;      /* domain ORB_DOMAIN_EWF */
  int kestrel_threads;  /* domain ORB_DOMAIN_KESTREL */
  int dynamic;          /* ORB_DYNAMIC: 1 on, 0 off */
} OrbEnvSettings;
void orb_serv_get_env_settings(OrbEnvSettings *settings);

/* Clean-up list, run in reverse order at unload (at most 8 entries). */
typedef void (*orb_cleanup_fn)(void *arg);
int orb_serv_thr_register_cleanup(orb_cleanup_fn fn, void *arg);
void orb_serv_thr_cleanup(void);
void orb_thr_fini(void);

/* Error handler: name of the routine, info (parameter number, or a code),
 * length of the name. */
typedef void (*orb_xerbla_fn)(const char *name, const int *info, int len);
void orb_serv_xerbla(const char *name, const int *info, int len);
void orb_serv_default_xerbla(const char *name, const int *info, int len);
orb_xerbla_fn orb_serv_set_xerbla(orb_xerbla_fn fn);
orb_xerbla_fn orb_serv_set_xerbla_interface(orb_xerbla_fn fn);
int orb_serv_check_ptr(const void *ptr, const char *name);
int orb_serv_check_ptr_and_warn(const void *ptr, const char *name);

/* Progress callback: passed through unchanged. */
typedef int (*orb_progress_fn)(int *thread, int *step, char *stage, int len);
int orb_serv_progress(int *thread, int *step, char *stage, int len);
orb_progress_fn orb_serv_set_progress(orb_progress_fn fn);
orb_progress_fn orb_serv_set_progress_interface(orb_progress_fn fn);

/* Pivot callback of the direct solver. */
typedef int (*orb_pivot_fn)(const void *ctx, double *a, const double *eps);
int orb_serv_kestrel_pivot(const void *ctx, double *a, const double *eps);
int orb_serv_default_kestrel_pivot(const void *ctx, double *a, const double *eps);
orb_pivot_fn orb_serv_set_kestrel_pivot(orb_pivot_fn fn);
orb_pivot_fn orb_serv_set_kestrel_pivot_interface(orb_pivot_fn fn);

/* Verbose report: header once per process, then one line per call. */
void orb_serv_print_verbose_header(int iface);
void orb_serv_print_verbose_info(int iface, const char *call_text, double seconds);
const char *const_str_iface(int iface);

ORB_END_DECLS

#endif
