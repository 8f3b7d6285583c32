#pragma once

#include <QImage>
#include <QStringList>

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

// Decodes a list of image files on worker threads ahead of the one thread
// that folds them into the series, and hands them out strictly in list order
// (an 8-bit series depends on the order of its images).
//
// Memory stays bounded: an image holds one of `capacity` slots from the moment
// a worker starts decoding it until the caller takes the next one, so never
// more than `capacity` decoded images exist, the caller's included.
class ImagePrefetcher
{
public:
    // decoders >= 1 worker threads; capacity >= decoders + 1 keeps every
    // worker busy while the caller holds an image.
    ImagePrefetcher(const QStringList& paths, int decoders, int capacity);
    // Stops the workers (an unfinished decode runs to its end) and joins them.
    ~ImagePrefetcher();

    ImagePrefetcher(const ImagePrefetcher&) = delete;
    ImagePrefetcher& operator=(const ImagePrefetcher&) = delete;

    // The image of the next path in order, waiting for it if need be; a null
    // image when the file could not be loaded, with the reason in *error. The caller must have
    // dropped the image of the previous call or handed it back with recycle(); this call gives back
    // its slot.
    QImage next(QString* error = nullptr);

    // Hands back the image of the last next() once the caller is done with
    // it, so that a later file is decoded into the same memory instead of
    // fresh pages. Harmless when the caller still shares it: the decoder then
    // gets a copy-on-write detach instead.
    void recycle(QImage image);

    // Default worker count: the processor's threads, at least one.
    static int defaultDecoders();

private:
    void work();

    const QStringList paths;
    const int capacity;
    std::mutex mutex;
    std::condition_variable changed;
    struct Decoded
    {
        QImage image;
        QString error; // why the image is null
    };
    std::map<int, Decoded> decoded; // finished, not yet taken
    std::vector<QImage> spare;      // buffers of taken images, to decode into
    int claimed = 0;                // paths handed to workers so far
    int taken = 0;                  // images handed to the caller so far
    int slotsInUse = 0;
    bool holding = false; // the caller holds the image of its last call
    bool stopping = false;
    std::vector<std::thread> workers;
};
