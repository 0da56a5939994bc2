"""Estimators with scikit-learn's interface."""

from __future__ import annotations

from typing import Any, Sequence

import numpy as np
from sklearn.base import BaseEstimator, ClassifierMixin, ClusterMixin
from sklearn.exceptions import ConvergenceWarning
from sklearn.utils.multiclass import check_classification_targets
from sklearn.utils.validation import check_is_fitted, column_or_1d

from . import _wgr
from ._errors import InputError
from ._models import Model
from ._training import as_trace, build_options_of, similarity_matrix

_AXES = 3


def _are_traces(X: Any) -> bool:
    """Whether X holds arrays (n, 3) of any length, rather than a table of numbers."""
    if isinstance(X, np.ndarray) and X.dtype != object:
        return X.ndim == 3
    if not isinstance(X, (list, tuple, np.ndarray)) or len(X) == 0:
        return False
    return np.ndim(X[0]) == 2


class _Traces(BaseEstimator):
    """Takes traces, or a table whose rows are traces of one length.

    A row is x, y, z of the first sample, then of the next; what is wanting of the
    last sample is zero.
    """

    def _check_traces(self, X: Any, reset: bool) -> list[np.ndarray]:
        if _are_traces(X):
            return [as_trace(trace, i) for i, trace in enumerate(X)]
        X = self._validate_data(X, reset=reset, dtype=np.float64, order="C")
        short = -X.shape[1] % _AXES
        filled = np.pad(X, ((0, 0), (0, short)))
        return list(filled.reshape(len(X), -1, _AXES))


class GestureClassifier(ClassifierMixin, _Traces):
    """Names a motion by the template it resembles most, as the watch does.

    fit() picks each class's templates and its threshold as `wgr build` does.

    Parameters:
        templates: Per class, at most; otherwise by a sweep.
        false_cost: Of an accepted wrong example, in rejected right ones.
        tolerance: By how much accuracy the smallest set may be worse.
        kind: "exemplars", "averages", "smoothed" or "adapted" templates; otherwise
            those that are best.
        judge_by: "subject", "session" or "repetition": what an example is judged
            without; otherwise the first of them that fit() is given two of.
        share: Of a class's examples that may become templates.
        background_templates: Of background, at most, which are never reported;
            otherwise as many as gain by cross-validation.
        false_positives_per_hour: Background motions that may be accepted; needs
            background_hours.
        background_hours: Duration of the background, h.
        background_label: Of examples that are no gesture; None: there are none.
        gravity: The last point of each trace is its gravity vector.
        n_jobs: Threads; None is 1, -1 all processors. The model does not depend on it.

    Attributes:
        classes_: The gestures' labels, sorted.
        model_: The Model; its labels are those of `classes_`, or their places where
            a model cannot have them.
        report_: What was built, for people.
    """

    def __init__(
        self,
        *,
        templates: int | None = None,
        false_cost: float = 3.0,
        tolerance: float = 0.005,
        share: float = 1.0 / 3.0,
        kind: str | None = None,
        background_templates: int | None = None,
        judge_by: str | None = None,
        false_positives_per_hour: float | None = None,
        background_hours: float = 0.0,
        background_label: Any = None,
        gravity: bool = True,
        n_jobs: int | None = None,
    ) -> None:
        self.templates = templates
        self.false_cost = false_cost
        self.tolerance = tolerance
        self.share = share
        self.kind = kind
        self.background_templates = background_templates
        self.judge_by = judge_by
        self.false_positives_per_hour = false_positives_per_hour
        self.background_hours = background_hours
        self.background_label = background_label
        self.gravity = gravity
        self.n_jobs = n_jobs

    def fit(
        self, X: Any, y: Any, groups: Any = None, sessions: Any = None
    ) -> GestureClassifier:
        """Builds a model.

        Args:
            X: n traces (m, 3) of any lengths; or (n, 3 m), a trace a row.
            y: (n,) labels.
            groups: (n,) whose each example is. Where given, an example is judged by
                templates of others alone, for wearers who recorded nothing.
            sessions: (n,) in which session each was recorded. Where given, and not
                two groups, an example is judged by templates of other sessions
                alone: repetitions of one session resemble each other.

        Raises:
            InputError: There is nothing to build a model from.
        """
        if y is None:
            raise ValueError(
                f"{type(self).__name__} requires y to be passed, but the target y is None"
            )
        traces = self._check_traces(X, reset=True)
        y = column_or_1d(y, warn=True)
        check_classification_targets(y)
        if len(y) != len(traces):
            raise ValueError(f"inconsistent numbers of samples: {len(traces)}, {len(y)}")
        if len(traces) == 0:
            raise ValueError("0 samples: at least one is required")
        background = np.zeros(len(y), dtype=bool)
        if self.background_label is not None:
            background = y == self.background_label
        self.classes_ = np.unique(y[~background])
        if len(self.classes_) == 0:
            raise ValueError("y holds no class but background")
        self._numbers = _numbers_of(self.classes_)
        labels = np.full(len(y), -1)
        places = np.searchsorted(self.classes_, y[~background])
        labels[~background] = self._numbers[places]
        sources = [
            _names("groups", groups, len(y)),
            _names("sessions", sessions, len(y)),
        ]
        for word, given in zip(("subject", "session"), sources):
            if self.judge_by == word and not given:
                of = "groups" if word == "subject" else "sessions"
                raise InputError(f'judge_by: "{word}" needs fit(..., {of}=)')
        options = build_options_of(
            self.n_jobs,
            templates=self.templates,
            false_cost=self.false_cost,
            tolerance=self.tolerance,
            share=self.share,
            kind=self.kind,
            background_templates=self.background_templates,
            judge_by=self.judge_by,
            false_positives_per_hour=self.false_positives_per_hour,
            background_hours=self.background_hours,
        )
        core, self.report_, self._fault = _wgr.build(
            traces, labels.tolist(), self.gravity, *sources, options
        )
        self.model_ = Model(core)
        return self

    def _ask(self, X: Any) -> tuple[list[int], list[float], list[bool]]:
        check_is_fitted(self)
        traces = self._check_traces(X, reset=False)
        return _wgr.predict(self.model_.core, traces)

    def predict(self, X: Any) -> np.ndarray:
        """(n,) labels of the most similar templates, whether accepted or not."""
        labels, _, _ = self._ask(X)
        order = np.argsort(self._numbers)
        found = np.searchsorted(self._numbers, labels, sorter=order)
        # A motion that resembles no template at all is given the first class.
        found = np.where(np.isin(labels, self._numbers), found, 0)
        return self.classes_[order[found]]

    def score_samples(self, X: Any) -> np.ndarray:
        """(n,) similarities of the most similar templates, 0 at best."""
        return np.asarray(self._ask(X)[1], dtype=float)

    def accepts(self, X: Any) -> np.ndarray:
        """(n,) whether the score is above the class's threshold."""
        return np.asarray(self._ask(X)[2], dtype=bool)

    def to_model(self) -> Model:
        """The model for a watch.

        Raises:
            InputError: A class would never be recognised; what to do about it.
        """
        check_is_fitted(self)
        if self._fault:
            raise InputError(self._fault)
        return self.model_

    def _more_tags(self) -> dict[str, Any]:
        return {
            # A motion's strength does not count, only its shape: what differs in
            # its size alone is alike.
            "poor_score": True,
            "_xfail_checks": {
                "check_estimators_dtypes": "rounds to rows of zeros: no motion"
            },
        }


def _names(what: str, given: Any, count: int) -> list[str]:
    if given is None:
        return []
    names = [str(name) for name in column_or_1d(given)]
    if len(names) != count:
        raise ValueError(f"{what}: one for each of X is required")
    return names


def _numbers_of(classes: np.ndarray) -> np.ndarray:
    """The classes' labels in a model: their own where a model can have them."""
    if classes.dtype.kind in "iu":
        usable = (classes >= 0) & (classes <= 1000)
        if all(usable) and not any(_wgr.is_class_code(int(c)) for c in classes):
            return classes.astype(int)
    free = (n for n in range(1001) if not _wgr.is_class_code(n))
    return np.array([n for n, _ in zip(free, classes)])


class AffinityPropagation(ClusterMixin, _Traces):
    """Groups traces by their similarities, one exemplar a group.

    The library's own clustering: B. J. Frey and D. Dueck, "Clustering by passing
    messages between data points", Science 315 (2007).

    Parameters:
        damping: Share of the old message in the new; 0.5 to below 1.
        max_iter: Iterations at most.
        convergence_iter: Over which all decisions must hold.
        preference: Times the median similarity gives every point's own; larger
            values mean fewer clusters.
        affinity: "traces", or "precomputed": X is the similarity matrix.
        gravity: The last point of each trace is its gravity vector.
        n_jobs: Threads that compare.

    Attributes:
        cluster_centers_indices_: (k,) the exemplars; empty without convergence.
        labels_: (n,) each one's cluster; -1 without convergence.
        affinity_matrix_: (n, n) float32.
    """

    def __init__(
        self,
        *,
        damping: float = 0.5,
        max_iter: int = 1000,
        convergence_iter: int = 50,
        preference: float = 1.0,
        affinity: str = "traces",
        gravity: bool = False,
        n_jobs: int | None = None,
    ) -> None:
        self.damping = damping
        self.max_iter = max_iter
        self.convergence_iter = convergence_iter
        self.preference = preference
        self.affinity = affinity
        self.gravity = gravity
        self.n_jobs = n_jobs

    def fit(self, X: Any, y: Any = None) -> AffinityPropagation:
        """Clusters n traces, or the (n, n) similarities of "precomputed".

        Raises:
            InputError: A parameter is out of its range, X is no matrix.
        """
        if not 0.5 <= self.damping < 1:
            raise InputError("damping: 0.5 to below 1 is required")
        if self.max_iter < 1 or self.convergence_iter < 1:
            raise InputError("max_iter, convergence_iter: 1 or more is required")
        if not self.preference >= 0:
            raise InputError("preference: 0 or more is required")
        if self.affinity == "precomputed":
            matrix = self._validate_data(X, dtype=np.float32, order="C", copy=True)
            if matrix.shape[0] != matrix.shape[1]:
                raise InputError(f"X: a matrix (n, n) is required, not {matrix.shape}")
        elif self.affinity == "traces":
            matrix = similarity_matrix(
                self._check_traces(X, reset=True), self.n_jobs, gravity=self.gravity
            )
        else:
            raise InputError('affinity: "traces" or "precomputed" is required')
        self.affinity_matrix_ = matrix
        n = len(matrix)
        exemplars = [0] if n == 1 else self._cluster(matrix)
        if not exemplars:
            import warnings

            warnings.warn(
                "the clustering did not converge: raise damping or max_iter",
                ConvergenceWarning,
                stacklevel=2,
            )
        self.cluster_centers_indices_, labels = np.unique(exemplars, return_inverse=True)
        self.labels_ = labels if exemplars else np.full(n, -1)
        self.n_features_in_ = getattr(self, "n_features_in_", _AXES)
        return self

    def _cluster(self, matrix: Sequence) -> list[int]:
        return _wgr.cluster(
            matrix,
            self.max_iter,
            self.convergence_iter,
            self.preference,
            self.damping,
        )

    def _more_tags(self) -> dict[str, Any]:
        return {
            "pairwise": self.affinity == "precomputed",
            "_xfail_checks": {
                "check_clustering": "gives every class of this name a preference "
                "below 0, which another meaning has there",
                "check_non_transformer_estimators_n_iter": "the library does not "
                "say after how many iterations it converged",
            },
        }


__all__ = ["AffinityPropagation", "GestureClassifier"]
