#pragma once

/// Prepares in the background what the first frame needs and nothing before it does, such as the
/// system's fonts, while this thread loads the documents. To be called once there is a
/// QGuiApplication, which waits for the rest of it when it ends.
void warmUp();
