"""Pillow's side of the in-process comparison: the picture loaded once (its pixels in
memory, as our host holds a loaded NSImageQVR), then one job repeated in this process and
its mean time printed, as `QVR_BENCH_REPEAT` makes qvr_host_bench print ours.

    pillow_inprocess.py jpeg|png IN OUT [RUNS]

jpeg: save(quality=80); png: save() (zlib level 6 and Pillow's adaptive filters)."""
import io
import sys
import time

from PIL import Image

job, path, out = sys.argv[1:4]
runs = int(sys.argv[4]) if len(sys.argv) > 4 else 5
image = Image.open(path)
image.load()
options = {"jpeg": {"format": "JPEG", "quality": 80}, "png": {"format": "PNG"}}[job]
data = b""
start = time.perf_counter()
for _ in range(runs):
    buffer = io.BytesIO()
    image.save(buffer, **options)
    data = buffer.getvalue()
print(f"{(time.perf_counter() - start) / runs:.6f}")
with open(out, "wb") as f:
    f.write(data)
