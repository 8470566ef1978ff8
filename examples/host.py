"""A small host: loads a stored selection, orders ten more of its first part at the
JOBBER location and writes the selection back.

    python3 host.py SELECTION.xml OUT.xml
"""
import sys

import vexqom


def main(source, target):
    selection = vexqom.Dispatch("vexqom_PLUMEK2.ICatItemCol")
    with open(source, encoding="utf-8") as f:
        selection.XML = f.read()

    item = selection.Item(1)
    before = int(item.QuantityToOrder("JOBBER") or 0)
    item.SetQuantityToOrder("JOBBER", before + 10)
    print(f"{item.Description}: JOBBER quantity {before} -> {before + 10}")
    # ItemsTotalCount is a running total, kept up by Add and Remove only; the quantity
    # flagged to order is counted afresh from the items.
    print(f"flagged to order now {selection.ItemsSelectedCount()} "
          f"(running total {selection.ItemsTotalCount}, changed only by Add and Remove)")

    with open(target, "w", encoding="utf-8", newline="") as f:
        f.write(selection.XML)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit("usage: python3 host.py SELECTION.xml OUT.xml")
    try:
        main(sys.argv[1], sys.argv[2])
    except vexqom.Error as e:
        sys.exit(f"error {e.number}: {e.description}")
