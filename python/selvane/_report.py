"""What a Renderer knows of its picture and its latest render."""

from __future__ import annotations

from typing import Any

from ._library import STAGES, ReportRecord

_PERCENTILES = (0.1, 1.0, 25.0, 50.0, 75.0, 99.0, 99.75)
_ROWS = (
    ("Size", "{width} x {height} pixels, {visible_pixels} of them visible"),
    ("Replaced samples", "{replaced_nan} NaN, {replaced_negative} negative, {replaced_infinite} infinite"),
    ("Hot pixels", "{hot_pixels}"),
    ("Dark samples around lights", "{filled_samples}"),
    ("Dynamic range", "{dynamic_range_stops:.1f} stops"),
    ("Luminance, powers of ten", "{log_luminance_min:.2f} to {log_luminance_max:.2f}, mean {log_luminance_mean:.2f}"),
    ("Base layer", "{base_min:.2f} to {base_max:.2f}, mean {base_mean:.2f}"),
    ("Detail layer", "{detail_min:.2f} to {detail_max:.2f}, mean {detail_mean:.3f}"),
    ("Black and white point", "{black_point:.4g} and {white_point:.4g}"),
    ("Clipped to black, to white", "{clipped_black:.2%}, {clipped_white:.2%}"),
    ("Memory", "{bytes} bytes"),
)


class Report(dict[str, Any]):
    """A dict with the names of `selvane_report` in selvane.h. A notebook shows it as a table.

    | Key | Value |
    |---|---|
    | width, height | pixels |
    | visible_pixels | pixels whose alpha is not 0 |
    | replaced_nan, replaced_negative, replaced_infinite | samples that made no sense |
    | hot_pixels | pixels that outshone everything else and were lowered |
    | filled_samples | dark samples that resampling had left around lights, and that were filled |
    | log_luminance_min, _max, _mean | of the logarithm to the base 10 |
    | percentiles | dict: per cent of the pixels to the logarithm of luminance |
    | dynamic_range_stops | from the 0.1 to the 99.75 per cent percentile |
    | base_min, base_max, base_mean, detail_... | both layers, in powers of ten; 0 before the first render |
    | black_point, white_point | of the latest render |
    | clipped_black, clipped_white | share of the pixels, 0 to 1 |
    | previews | previews that the suggestion took |
    | milliseconds | dict: stage of the latest call to its time; 0 where nothing had to be computed |
    | bytes | memory that the Renderer holds |
    | stage_bytes | dict: stage to the part of it that the stage needs first |
    """

    def _repr_html_(self) -> str:
        rows = "".join(f"<tr><th>{name}</th><td>{text.format(**self)}</td></tr>" for name, text in _ROWS)
        times = ", ".join(f"{stage} {time:.1f} ms" for stage, time in self["milliseconds"].items())
        return f"<table>{rows}<tr><th>Latest call</th><td>{times}</td></tr></table>"


def to_report(record: ReportRecord) -> Report:
    values = {name: getattr(record, name) for name, *_ in record._fields_ if name not in ("struct_size", "reserved")}
    values["percentiles"] = dict(zip(_PERCENTILES, record.percentiles))
    values["milliseconds"] = dict(zip(STAGES, record.milliseconds))
    values["stage_bytes"] = dict(zip(STAGES, record.stage_bytes))
    return Report(values)
