#include "ImagePrefetcher.h"

#include "NucImageInput.h"

#include <QImageReader>
#include <QThread>

ImagePrefetcher::ImagePrefetcher(const QStringList& paths, int decoders, int capacity)
    : paths(paths), capacity(qMax(capacity, 1))
{
    for (int i = 0; i < qMax(decoders, 1); ++i)
        workers.emplace_back([this] { work(); });
}

ImagePrefetcher::~ImagePrefetcher()
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        stopping = true;
    }
    changed.notify_all();
    for (std::thread& worker : workers)
        worker.join();
}

int ImagePrefetcher::defaultDecoders()
{
    return qMax(QThread::idealThreadCount(), 1);
}

void ImagePrefetcher::work()
{
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        // A slot first, then the next path: claiming in path order under one
        // lock means the image the caller waits for always has a slot.
        changed.wait(
            lock, [this] { return stopping || claimed >= paths.size() || slotsInUse < capacity; });
        if (stopping || claimed >= paths.size())
            return;
        ++slotsInUse;
        const int index = claimed++;
        QImage image;
        if (!spare.empty()) {
            image = std::move(spare.back());
            spare.pop_back();
        }
        lock.unlock();
        // As NucImageInput::loadImage, but into the buffer of an image the
        // caller is done with when one is there.
        QImageReader reader(paths[index]);
        QString error;
        image = NucImageInput::readImage(reader, &error, std::move(image));
        lock.lock();
        decoded.emplace(index, Decoded{std::move(image), error});
        changed.notify_all();
    }
}

void ImagePrefetcher::recycle(QImage image)
{
    std::lock_guard<std::mutex> lock(mutex);
    // Only an image whose slot is still held may come back, or the spares
    // would add to the images the slots allow.
    if (holding && !image.isNull())
        spare.push_back(std::move(image));
    if (holding) {
        holding = false;
        --slotsInUse;
    }
    changed.notify_all();
}

QImage ImagePrefetcher::next(QString* error)
{
    std::unique_lock<std::mutex> lock(mutex);
    if (holding) {
        holding = false;
        --slotsInUse;
        changed.notify_all();
    }
    if (taken >= paths.size())
        return QImage();
    const int index = taken;
    changed.wait(lock, [this, index] { return decoded.count(index) != 0; });
    auto found = decoded.find(index);
    QImage image = std::move(found->second.image);
    if (error)
        *error = found->second.error;
    decoded.erase(found);
    ++taken;
    holding = true;
    return image;
}
