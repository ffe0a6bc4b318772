"""Prints how long the tool takes from start to exit when it only prints its usage, and a program that does nothing."""

import statistics

from timing import BUILD, HOST, in_turns

HOST.start_up()
tool, empty = in_turns(25, lambda: HOST.seconds(BUILD / "corvelctl.exe", status=1),
                       lambda: HOST.seconds(BUILD / "bench" / "empty.exe"))
ratio = statistics.median(one / other for one, other in zip(tool, empty))
print(f"{'usage, start to exit':38}{statistics.median(tool) * 1000:9.0f} ms")
print(f"{'  a program that does nothing':38}{statistics.median(empty) * 1000:9.0f} ms   ratio {ratio:.2f}")
