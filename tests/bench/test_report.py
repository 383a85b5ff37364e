"""bench/report.py on a made-up run: target verdicts and the written report."""

import json
import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.environ.get("ORB_BENCH_DIR", os.path.join(os.path.dirname(__file__), "..", "..", "bench")))
import report  # noqa: E402


def lib(gflops, check="ok"):
    return {"gflops": gflops, "gflops_median": gflops, "best_s": 1.0, "median_s": 1.0, "calls": 3,
            "first_call_s": 1.0, "max_rel_diff": 0.0, "check": check}


def shape(name, m, n, k, group, orb, serial, openblas, blis, prec="d"):
    libs = {"orb": lib(orb) if orb else None, "serial": lib(serial, "reference") if serial else None,
            "openblas": lib(openblas) if openblas else None, "blis": lib(blis) if blis else None}
    peers = {key: libs[key]["gflops"] for key in ("openblas", "blis") if libs[key]}
    best = max(peers, key=peers.get) if peers else None
    return {"name": name, "prec": prec, "m": m, "n": n, "k": k, "group": group, "others_cpu_share": 0.02,
            "ratio_serial": orb / serial if orb and serial else None,
            "ratio_best_peer": orb / peers[best] if orb and best else None, "best_peer": best,
            "libraries": libs}


def made_up_run():
    return {
        "benchmark": "gemm", "date": "2030-01-01T00:00:00+0000", "quick": False, "threads": 2, "cpus": 2,
        "statistic": "best", "time_per_measurement_s": 0.3, "rounds": 3,
        "load_start": "0.05 0.10 0.10", "load_end": "1.00 0.50 0.20",
        "libraries": [
            {"key": "orb", "label": "orb", "available": True, "peer": False, "threads": 2, "path": "",
             "about": "orb 2.0.0", "missing": ""},
            {"key": "serial", "label": "serial provider", "available": True, "peer": False, "threads": 1,
             "path": "/x/libopenblas64.so.0", "about": "serial", "missing": ""},
            {"key": "openblas", "label": "OpenBLAS", "available": True, "peer": True, "threads": 2,
             "path": "/x/libopenblas.so.0", "about": "pthread", "missing": ""},
            {"key": "blis", "label": "BLIS", "available": False, "peer": True, "threads": 2, "path": "/x/libblis.so.4",
             "about": "", "missing": "cannot open"},
        ],
        "results": [
            # 200: 1.05x the peer (pass); 500: 0.9x (fail)
            shape("dgemm 200x200x200", 200, 200, 200, "square", 21.0, 15.0, 20.0, None),
            shape("dgemm 500x500x500", 500, 500, 500, "square", 45.0, 30.0, 50.0, None),
            # 1000: 0.98x peer, 1.96x serial (both pass); 2000: 0.96x peer (fail), 1.92x serial (pass)
            shape("dgemm 1000x1000x1000", 1000, 1000, 1000, "square", 49.0, 25.0, 50.0, None),
            shape("dgemm 2000x2000x2000", 2000, 2000, 2000, "square", 48.0, 25.0, 50.0, None),
            shape("dgemm 100x100x10000", 100, 100, 10000, "long-k", 30.0, 20.0, 25.0, None),
            shape("sgemm 2000x2000x2000", 2000, 2000, 2000, "square", 10.0, 50.0, 100.0, None, prec="s"),
        ],
    }


HOST = {"cpu": "Test CPU", "logical": 2, "cores": 2, "memory": "1.0 GiB", "kernel": "Linux test", "commit": None}


class Targets(unittest.TestCase):
    def verdicts(self, run):
        return {v["target"]: v for v in report.evaluate_targets(run["results"])}

    def test_each_target_judges_only_its_shapes(self):
        v = self.verdicts(made_up_run())
        big_peer, big_serial, long_k, small = (v[t[0]] for t in report.TARGETS)
        self.assertEqual([s[0] for s in big_peer["shapes"]], ["dgemm 1000x1000x1000", "dgemm 2000x2000x2000"])
        self.assertEqual([s[2] for s in big_peer["shapes"]], ["PASS", "FAIL"])
        self.assertEqual(big_peer["verdict"], "FAIL")
        self.assertEqual(big_serial["verdict"], "PASS")
        self.assertEqual(long_k["verdict"], "PASS")
        self.assertEqual([s[2] for s in small["shapes"]], ["PASS", "FAIL"])

    def test_a_differing_result_fails_even_when_fast(self):
        run = made_up_run()
        run["results"][4]["libraries"]["openblas"]["check"] = "MISMATCH"
        self.assertEqual(self.verdicts(run)[report.TARGETS[2][0]]["shapes"][0][2], "FAIL (results differ)")

    def test_missing_peer_is_not_a_pass(self):
        run = made_up_run()
        for r in run["results"]:
            r["libraries"]["openblas"] = None
            r["ratio_best_peer"], r["best_peer"] = None, None
        v = self.verdicts(run)
        self.assertEqual(v[report.TARGETS[0][0]]["verdict"], "n/a")
        self.assertEqual(v[report.TARGETS[1][0]]["verdict"], "PASS")

    def test_no_matching_shape(self):
        run = made_up_run()
        run["results"] = run["results"][:1]
        self.assertEqual(self.verdicts(run)[report.TARGETS[2][0]]["verdict"], "n/a (not measured)")


class Markdown(unittest.TestCase):
    def test_report_names_machine_libraries_results_and_verdicts(self):
        run = made_up_run()
        md = report.render_markdown(run, report.evaluate_targets(run["results"]), HOST, note="Taken under load.")
        self.assertIn("> **Provisional.** Taken under load.", md)
        self.assertIn("| processor | Test CPU |", md)
        self.assertIn("n/a: cannot open", md)
        self.assertIn("| dgemm 1000x1000x1000 (square) | 49.0 | 25.0 | 50.0 | n/a | 1.96x | 0.98x (OpenBLAS) | 2.00x "
                      "| ok | 2% |", md)
        self.assertIn("dgemm 2000x2000x2000: 0.960x FAIL", md)
        self.assertIn("![GFLOPS against size](gemm_gflops.png)", md)
        self.assertNotIn("disturbed and provisional", md)

    def test_shapes_measured_beside_other_work_are_flagged(self):
        run = made_up_run()
        run["results"][1]["others_cpu_share"] = 0.45
        run["results"][3]["others_cpu_share"] = 0.20
        run["results"][4]["others_cpu_share"] = None  # unknown: not counted
        md = report.render_markdown(run, [], HOST)
        self.assertIn("more than 10% of the 2 CPUs while 2 of the 6 shapes were measured (up to 45%)", md)
        self.assertIn("| ok | 45% |", md)
        self.assertIn("| ok | ? |", md)

    def test_a_missing_ratio_is_a_lone_na(self):
        self.assertEqual(report.fmt_verdict(None, "n/a"), "n/a")
        self.assertEqual(report.fmt_verdict(1.8996, "FAIL"), "1.899x FAIL")
        self.assertEqual(report.fmt_verdict(1.9, "PASS"), "1.900x PASS")
        self.assertEqual(report.fmt_verdict(None, "FAIL (results differ)"), "n/a FAIL (results differ)")

    def test_mismatch_is_named_in_the_table(self):
        run = made_up_run()
        run["results"][2]["libraries"]["openblas"]["check"] = "MISMATCH"
        md = report.render_markdown(run, [], HOST)
        self.assertIn("| MISMATCH: OpenBLAS |", md)


class Files(unittest.TestCase):
    def test_main_writes_the_report_from_json(self):
        with tempfile.TemporaryDirectory() as out:
            path = os.path.join(out, "run.json")
            with open(path, "w", encoding="utf-8") as f:
                json.dump(made_up_run(), f)
            self.assertEqual(report.main(["--json", path, "--out", out]), 0)
            with open(os.path.join(out, "performance.md"), encoding="utf-8") as f:
                self.assertIn("## Targets", f.read())
            try:
                import matplotlib  # noqa: F401
            except ImportError:
                return
            self.assertGreater(os.path.getsize(os.path.join(out, "gemm_gflops.png")), 1000)


if __name__ == "__main__":
    unittest.main()
