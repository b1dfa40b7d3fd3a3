"""What the SPS queries say of streams by x264 equals what ffmpeg's trace_headers filter prints, element by element."""
import pathlib
import re
import subprocess
import sys
import tempfile

# Name, input frames, encoder options: profiles, interlacing, VUI and HRD of many kinds.
STREAMS = [
    ("baseline", "yuv420p", "-profile:v baseline"),
    ("main", "yuv420p", "-profile:v main -aspect 16:9"),
    ("high", "yuv420p", "-profile:v high -color_primaries bt709 -color_trc bt709 -colorspace bt709 -color_range tv"),
    ("high10", "yuv420p10le", "-profile:v high10 -color_primaries bt2020 -color_trc smpte2084 -colorspace bt2020nc"),
    ("high422", "yuv422p", "-profile:v high422 -x264-params interlaced=1"),
    ("high444", "yuv444p", "-profile:v high444 -color_range pc"),
    ("gray", "gray", "-x264-params aud=1"),
    ("interlaced", "yuv420p", "-flags +ilme+ildct -x264-params tff=1:pic-struct=1"),
    ("fakeinterlaced", "yuv420p", "-x264-params fake-interlaced=1:chromaloc=3"),
    ("hrd", "yuv420p", "-x264-params nal-hrd=cbr:force-cfr=1 -b:v 500k -minrate 500k -maxrate 500k -bufsize 500k"),
    ("sar", "yuv420p", "-x264-params sar=40/33:overscan=show:videoformat=pal:fullrange=on"),
    ("odd", "yuv420p", "-vf scale=322:182,setsar=7/9"),
]


def make(folder, name, pixel_format, options):
    """An mp4 of two frames; its avcC payload and its trace of headers."""
    path = folder / f"{name}.mp4"
    subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "testsrc=size=352x288:rate=30000/1001",
                    "-frames:v", "2", "-pix_fmt", pixel_format, "-c:v", "libx264", "-preset", "ultrafast", *options.split(),
                    str(path)], check=True)
    data = path.read_bytes()
    at = data.index(b"avcC")
    size = int.from_bytes(data[at - 4:at], "big")
    record = folder / f"{name}.avcC"
    record.write_bytes(data[at + 4:at - 4 + size])
    trace = subprocess.run(["ffmpeg", "-i", str(path), "-c", "copy", "-bsf:v", "trace_headers", "-f", "null", "-"],
                           check=True, stderr=subprocess.PIPE, text=True).stderr
    return record, trace


def elements(trace):
    """The elements of the first SPS of the trace; the last value of one that stands twice (the VCL's HRD)."""
    text = trace[trace.index("Sequence Parameter Set"):]
    text = text[:text.index("Picture Parameter Set")]
    return {name: int(value) for name, value in re.findall(r"\] \d+\s+(\w+)(?:\[\d+\])*\s+[01]+ = (-?\d+)", text)}


def expected(e):
    mono = e.get("chroma_format_idc", 1) == 0
    chroma = e.get("chroma_format_idc", 1)
    fields = 2 - e["frame_mbs_only_flag"]
    width = 16 * (e["pic_width_in_mbs_minus1"] + 1)
    height = 16 * (e["pic_height_in_map_units_minus1"] + 1) * fields
    if e["frame_cropping_flag"] and not mono:
        across, down = {1: (2, 2), 2: (2, 1), 3: (1, 1)}[chroma]
        width -= across * (e["frame_crop_left_offset"] + e["frame_crop_right_offset"])
        height -= down * fields * (e["frame_crop_top_offset"] + e["frame_crop_bottom_offset"])
    lines = [f"id={e['seq_parameter_set_id']}", f"size={width}x{height}", f"interlaced={1 - e['frame_mbs_only_flag']}",
             f"chroma={chroma} luma_depth={8 + e.get('bit_depth_luma_minus8', 0)} "
             f"chroma_depth={8 + e.get('bit_depth_chroma_minus8', 0)}"]
    if e.get("timing_info_present_flag"):
        rate = e["time_scale"] / e["num_units_in_tick"]
        if e["frame_mbs_only_flag"] or e["pic_order_cnt_type"] != 2:
            rate /= 2
        hrd = e["nal_hrd_parameters_present_flag"] or e["vcl_hrd_parameters_present_flag"]
        bits = e["cpb_removal_delay_length_minus1"] + e["dpb_output_delay_length_minus1"] + 2 if hrd else 0
        lines.append(f"rate={rate:.4f} fixed={e['fixed_frame_rate_flag']} pic_struct={e['pic_struct_present_flag']} "
                     f"hrd={int(hrd)} bits={bits}")
    if e.get("chroma_loc_info_present_flag"):
        lines.append(f"chroma_loc={e['chroma_sample_loc_type_top_field']},{e['chroma_sample_loc_type_bottom_field']}")
    table = {1: (1, 1), 2: (12, 11), 3: (10, 11), 4: (16, 11), 5: (40, 33), 6: (24, 11), 7: (20, 11), 8: (32, 11),
             9: (80, 33), 10: (18, 11), 11: (15, 11), 12: (64, 33), 13: (160, 99), 14: (4, 3), 15: (3, 2), 16: (2, 1)}
    if e.get("aspect_ratio_info_present_flag"):
        idc = e["aspect_ratio_idc"]
        sar = (e["sar_width"], e["sar_height"]) if idc == 255 else table.get(idc, (0, 0))
        lines.append(f"sar={sar[0]}:{sar[1]}")
    if e.get("colour_description_present_flag"):
        lines.append(f"nclc={e['colour_primaries']},{e['transfer_characteristics']},{e['matrix_coefficients']}")
    if e["vui_parameters_present_flag"]:
        lines.append(f"full={e.get('video_full_range_flag', 0)}")
    return lines


def main():
    probe = sys.argv[1]
    failures = 0
    with tempfile.TemporaryDirectory() as folder:
        for name, pixel_format, options in STREAMS:
            record, trace = make(pathlib.Path(folder), name, pixel_format, options)
            ours = subprocess.run([probe, str(record)], check=True, stdout=subprocess.PIPE, text=True).stdout.splitlines()
            theirs = expected(elements(trace))
            if ours != theirs:
                failures += 1
                print(f"{name}:\n  ours   {ours}\n  ffmpeg {theirs}")
    print(f"{len(STREAMS)} streams compared, {failures} differ")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
