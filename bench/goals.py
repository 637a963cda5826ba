"""Prints the goals of the host path against what bench/run measured in one run (goals.txt,
NAME=VALUE lines): each job's time in process, ours through the host bench and through
`qvr run`, beside the other side's, the ratio the goal is about, and met or missed."""
import sys

v = {}
for line in open(sys.argv[1]):
    name, _, value = line.strip().partition("=")
    if value:
        v[name] = float(value)


def row(job, ours, theirs_name, theirs, limit, better):
    """One goal: ratio ours / theirs, met when at most limit."""
    ratio = v[ours] / v[theirs]
    qvr = v.get("qvr_" + ours.replace("_ours", "").replace("pngrgba", "png_rgba").replace("decode", "load"))
    qvr_text = f"{qvr:8.3f}" if qvr is not None else f"{'':>8}"
    qvr_ratio = f"{qvr / v[theirs]:8.2f}" if qvr is not None else f"{'':>8}"
    print(f"{job:<22} {v[ours]:8.3f} {qvr_text} {theirs_name:<22} {v[theirs]:8.3f} {ratio:7.2f} {qvr_ratio}  "
          f"{better} {limit:<5} {'met' if ratio <= limit else 'MISSED'}")


print(f"{'job (12 MP)':<22} {'ours s':>8} {'qvr run':>8} {'against':<22} {'s':>8} {'ours/x':>7} {'qvr/x':>8}  goal")
row("JPEG q80", "jpeg_ours", "Pillow save, in-process", "jpeg_pillow", 1.5, "<=")
row("JPEG q80", "jpeg_ours", "Pillow, whole command", "jpeg_pillow_whole", 1.0, "<")
row("PNG, RGB", "png_ours", "Pillow save, in-process", "png_pillow", 0.5, "<=")
row("PNG, RGBA", "pngrgba_ours", "Pillow save, in-process", "pngrgba_pillow", 0.5, "<=")
row("JPEG decode", "decode_ours", "djpeg, whole command", "decode_djpeg_whole", 1.0, "<=")
row("scale to 256, JPEG", "thumbnail_ours", "vipsthumbnail, whole", "thumbnail_vips_whole", 1.0, "<=")
for kind, label in (("png", "RGB"), ("pngrgba", "RGBA")):
    size = v[kind + "_size_ours"] / v[kind + "_size_pillow"]
    print(f"PNG size, {label}: ours {v[kind + '_size_ours']:.0f} B, Pillow {v[kind + '_size_pillow']:.0f} B, "
          f"ratio {size:.3f} (goal <= 1.05: {'met' if size <= 1.05 else 'MISSED'})")
for name in ("goal", "goal-rgba"):
    print(f"{name}.png read back pixel for pixel by Pillow and ImageMagick: "
          f"{'yes' if v.get('pixels_' + name) == 1 else 'NO'}")
difference = v["thumbnail_mean_difference"]
print(f"scale to 256 from the JPEG, mean difference from the full decode's: {difference:.3f} levels "
      f"(goal < 1: {'met' if difference < 1 else 'MISSED'})")
