"""Results as tables: a pandas DataFrame when pandas is installed (or asked
for), else a `Table`, NumPy columns with the same row and column labels.

Both are read the same way for what the package's results need: `t[column]`
(a column), `t.at[row, column]` (one cell), `t.index`, `t.columns`,
`t.to_numpy()` and `len(t)`.
"""

from __future__ import annotations

import importlib
from typing import Any, Dict, Iterator, List, Mapping, Optional, Sequence, Tuple, Union

import numpy
from numpy.typing import NDArray

# A pandas DataFrame, or a Table when pandas is not there. pandas ships no
# type information, so the union is spelled Any.
Frame = Any
# A column: a sequence or a NumPy array.
Column = Union[Sequence[Any], NDArray[Any]]


def pandas_module(required: bool = False) -> Any:
    """pandas, or None when it is not installed (ImportError naming the
    Debian package when `required`)."""
    try:
        return importlib.import_module("pandas")
    except ImportError:
        if required:
            raise ImportError("this needs pandas (Debian: apt-get install python3-pandas)") from None
        return None


class _At:
    __slots__ = ("_table",)

    def __init__(self, table: "Table") -> None:
        self._table = table

    def __getitem__(self, key: Tuple[Any, str]) -> Any:
        row, column = key
        try:
            position = self._table.index.index(row)
        except ValueError:
            raise KeyError(row) from None
        return self._table[column][position]


class Table:
    """Columns of one length with row labels: what a DataFrame of the same
    result holds, for when pandas is not installed."""

    def __init__(self, columns: Mapping[str, Column], index: Sequence[Any],
                 index_name: Optional[str] = None) -> None:
        self.index: List[Any] = list(index)
        self.index_name = index_name
        self._data: Dict[str, NDArray[Any]] = {}
        for name, values in columns.items():
            array = numpy.asarray(values)
            if array.dtype.kind in "US":  # text stays text of any length
                array = array.astype(object)
            if array.shape[:1] != (len(self.index),):
                raise ValueError("column %s has %d rows, the index %d"
                                 % (name, array.shape[0] if array.ndim else 0, len(self.index)))
            self._data[name] = array

    @property
    def columns(self) -> List[str]:
        return list(self._data)

    @property
    def at(self) -> _At:
        """`t.at[row label, column]`: one cell."""
        return _At(self)

    def __getitem__(self, column: str) -> NDArray[Any]:
        return self._data[column]

    def __contains__(self, column: object) -> bool:
        return column in self._data

    def __len__(self) -> int:
        return len(self.index)

    def __iter__(self) -> Iterator[str]:
        return iter(self._data)

    def to_numpy(self) -> NDArray[Any]:
        """The cells as a rows x columns array (float when every column is
        numeric, else object)."""
        if not self._data:
            return numpy.empty((len(self.index), 0))
        return numpy.column_stack(list(self._data.values()))

    def to_pandas(self) -> Any:
        """The same table as a DataFrame (needs pandas)."""
        pandas = pandas_module(required=True)
        return pandas.DataFrame(dict(self._data), index=pandas.Index(self.index, name=self.index_name))

    def __repr__(self) -> str:
        head = [str(self.index_name or "")] + self.columns
        rows = [[str(label)] + [_cell(self._data[c][r]) for c in self._data]
                for r, label in enumerate(self.index)]
        widths = [max(len(line[c]) for line in [head] + rows) for c in range(len(head))]
        return "\n".join("  ".join(cell.ljust(w) for cell, w in zip(line, widths)).rstrip()
                         for line in [head] + rows)


def _cell(value: Any) -> str:
    if isinstance(value, (float, numpy.floating)):
        return "%.6g" % value
    return str(value)


def table(columns: Mapping[str, Column], index: Sequence[Any], index_name: Optional[str],
          as_frame: Optional[bool]) -> Frame:
    """A DataFrame when `as_frame` is True, or None and pandas is installed;
    else a Table."""
    pandas = pandas_module(required=bool(as_frame)) if as_frame is not False else None
    if pandas is None:
        return Table(columns, index, index_name)
    return pandas.DataFrame(dict(columns), index=pandas.Index(list(index), name=index_name))
