"""Compares the sampled results of the Windows build (stand-in engine: a
plain DFT in double) with the Linux build's (FFTW): same statuses, same
lengths, values equal within the rounding of each precision."""
import sys


def load(path):
    values, statuses = {}, {}
    with open(path, encoding="ascii", errors="replace") as f:
        for line in f:
            parts = line.split()
            if len(parts) == 3 and parts[1] == "status":
                statuses[parts[0]] = parts[2]
            elif len(parts) == 3:
                values.setdefault(parts[0], []).append(float(parts[2]))
    return values, statuses


def main():
    lin, lin_status = load(sys.argv[1])
    win, win_status = load(sys.argv[2])
    failed = 0
    for name in sorted(set(lin_status) | set(win_status)):
        a, b = lin.get(name, []), win.get(name, [])
        single = name[0] in "sc" and not name.startswith(("zd", "dz", "dd"))
        tol = 2e-4 if single else 1e-9
        scale = max([1.0] + [abs(v) for v in a])
        ok = (lin_status.get(name) == win_status.get(name) and len(a) == len(b)
              and all(abs(x - y) <= tol * scale for x, y in zip(a, b)))
        if not ok:
            failed += 1
            print(f"FAILED: {name} differs between the Linux and Windows builds")
    print(f"ok: {len(lin_status) - failed} of {len(lin_status)} sampled exports agree with the Linux build"
          if not failed else f"{failed} sampled exports differ")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
