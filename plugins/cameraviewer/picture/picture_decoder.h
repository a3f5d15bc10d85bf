#ifndef OBVISTA_CAMERAVIEWER_PICTURE_DECODER_H
#define OBVISTA_CAMERAVIEWER_PICTURE_DECODER_H

#include "picture_buffers.h"

#include <picture/frame_check.h>
#include <picture/jpeg.h>
#include <robaxi/kv_frame.h>

#include <QImage>
#include <QPoint>
#include <QString>

#include <codec/h264_decoder.h>

namespace cameraviewer {

/**
 * A frame and its decoded picture.
 *
 * Cheap to copy, and safe to pass to another thread. Its contents must not be modified.
 */
struct Picture {
    KVFrame fFrame;
    /**
     * Null if there is a fault. For RGB (Format_RGB888) and grey (Format_Grayscale8) it consists of
     * the frame's bytes, with its stride; YUV 4:2:2, JPEG and H.264 become Format_RGB32, a grey
     * JPEG Format_Grayscale8.
     */
    QImage fImage;
    picture::FrameFault fFault = picture::FrameFault::None;
};

/**
 * Decodes untrusted frames. It keeps its memory between pictures, and is for one thread at a time;
 * the pictures do not depend on it.
 */
class PictureDecoder {
  public:
    /**
     * Decodes a frame: RGB and grey without a copy, YUV 4:2:2 by picture::convertYuv422Row(). A
     * JPEG that is damaged, or ends early, is BadJpeg and not shown in part. H.264 frames are
     * passed in the order of KVFrameChain, here or to skip(); after a fault with a key frame.
     *
     * @throws std::bad_alloc when there is no memory for the picture
     */
    Picture decode(const picture::CheckedFrame& frame);
    /** Checks the frame before. */
    Picture decode(const KVFrame& frame);

    /** Decodes an H.264 frame whose picture is not needed. Does nothing for other formats. */
    picture::FrameFault skip(const picture::CheckedFrame& frame);

  private:
    QImage xDecodeRows(const picture::CheckedFrame& frame);
    QImage xMakeImage(const KVFrame& frame, QImage::Format format);
    void xDecodeH264(const picture::CheckedFrame& frame, Picture& picture);

    picture::JpegReader fJpegReader;
    codec::H264Decoder fH264Decoder;
    PictureBuffers fBuffers;
};

/**
 * Returns the value of a pixel as sent by the camera: "R 1 G 2 B 3", "Grey 12", "Y 120 Cb 130 Cr
 * 127". For JPEG, which has none, the decoded value.
 *
 * @return empty for a point outside the picture, or without a picture
 */
QString rawText(const Picture& picture, const QPoint& pixel);

}  // namespace cameraviewer

#endif
