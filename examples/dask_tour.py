"""The binding on Dask: a two-channel recording in 8 chunks on a local
cluster of 2 worker processes.  Spectra of every frame, an overlap-add FIR
filter and a streaming 3/2 resampler run chunk by chunk on the workers and
equal the single-array calls.
    FENNEL_DSP_LIB_DIR=build/lib PYTHONPATH=python /usr/bin/python3 examples/dask_tour.py
"""
import numpy as np
import dask.array as da
from distributed import Client, LocalCluster

import fennel_dsp as fd
from fennel_dsp import chunked


def main():
    rate = 48000
    t = np.arange(8 * 6000) / rate
    x = np.stack([np.sin(2 * np.pi * 440 * t), np.sign(np.sin(2 * np.pi * 97 * t))])
    chunks = da.from_array(x, chunks=(2, 6000))           # 8 chunks along time
    with LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                      dashboard_address=None) as cluster, Client(cluster):
        # Frames of 1024 samples as rows: the transform axis is never split.
        frames = da.from_array(x[0, :46 * 1024].reshape(46, 1024), chunks=(6, 1024))
        spectra = chunked.rfft(frames, norm="ortho").compute()
        print(f"dask tour: {frames.numblocks[0]} chunks of frames -> spectra {spectra.shape}, "
              f"equal to fd.rfft: {np.allclose(spectra, fd.rfft(frames.compute(), norm='ortho'))}")

        h = fd.firwin(101, 2000, fs=rate)                  # 2 kHz lowpass
        filtered = chunked.convolve(chunks, h, mode="same").compute()
        whole = np.stack([fd.convolve(row, h, mode="same") for row in x])
        print(f"  overlap-add FIR across {chunks.numblocks[1]} chunk borders: max difference "
              f"from one call {np.max(np.abs(filtered - whole)):.1e}")

        proto = fd.firwin(24 * 3 + 1, 1 / 3) * 3            # prototype at 3x the rate
        resampled = chunked.resample(chunks, proto, 3, 2 / 3).compute()
        one_call = fd.fir_resample(x, proto, 3, 2 / 3)
        print(f"  streaming resampler 3/2 across the chunks: {x.shape[1]} -> {resampled.shape[1]} "
              f"samples per channel, bit-exact: {np.array_equal(resampled, one_call)}")


if __name__ == "__main__":
    main()
