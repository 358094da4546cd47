"""locations.py CMAKE SOURCES SCRATCH: in a build for the package, every object is compiled without the
folders that it is compiled in, also those of libraries that are built along."""
import pathlib
import shlex
import subprocess
import sys

cmake, sources, scratch = sys.argv[1:]
build = pathlib.Path(scratch).resolve()
configured = subprocess.run([cmake, "--preset", "package", "-B", build], cwd=sources,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
if configured.returncode != 0:
    sys.exit(configured.stdout)
listed = subprocess.run(["ninja", "-C", build, "-t", "commands", "tavlo_sdk"], capture_output=True, text=True,
                        check=True).stdout
wanted = {f"-ffile-prefix-map={sources}=tavlo", f"-ffile-prefix-map={build}=tavlo/build"}
compiled, faults = 0, []
for line in listed.splitlines():
    words = shlex.split(line)
    if "-c" in words and any(word.endswith((".obj", ".o")) for word in words):
        compiled += 1
        if not wanted <= set(words):
            faults.append(words[words.index("-c") + 1])
for library in ("boost-thread", "highway", "libpng"):
    if f"/{library}/" not in listed:
        faults.append(f"nothing of {library} is compiled")
print("\n".join([*faults, f"{compiled} objects"]))
sys.exit(1 if faults or compiled == 0 else 0)
