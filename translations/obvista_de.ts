<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>CurlTransfer</name>
    <message>
        <source>The response ended within its header</source>
        <translation>Die Antwort endete mitten im Header</translation>
    </message>
    <message>
        <source>The header of the response is too long</source>
        <translation>Der Header der Antwort ist zu lang</translation>
    </message>
    <message>
        <source>The response has a transfer coding that was not requested</source>
        <translation>Die Antwort hat eine Übertragungskodierung, die nicht angefordert wurde</translation>
    </message>
</context>
<context>
    <name>HttpTransfer</name>
    <message>
        <source>The library %1 cannot be loaded: %2</source>
        <extracomment>%1 is a file, %2 the system&apos;s reason</extracomment>
        <translation>Die Bibliothek %1 kann nicht geladen werden: %2</translation>
    </message>
</context>
<context>
    <name>KD::BrowseRobotsDialog</name>
    <message>
        <source>Browse robots</source>
        <translation>Roboter suchen</translation>
    </message>
    <message>
        <source>Connect to</source>
        <translation>Verbinden</translation>
    </message>
    <message>
        <source>Favourite</source>
        <translation>Favorit</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Use fixed port</source>
        <translation>Festen Port verwenden</translation>
    </message>
    <message>
        <source>If you do not want to use the port returned by Bonjour</source>
        <translation>Wenn Sie nicht den von Bonjour gemeldeten Port verwenden möchten</translation>
    </message>
    <message>
        <source>Use fixed IP/hostname</source>
        <translation>Feste IP/festen Rechnernamen verwenden</translation>
    </message>
    <message>
        <source>If you want to connect to a robot that does not appear in the list</source>
        <translation>Wenn Sie sich mit einem Roboter verbinden möchten, der nicht in der Liste steht</translation>
    </message>
    <message>
        <source>Robots</source>
        <translation>Roboter</translation>
    </message>
    <message>
        <source>Ctrl+D makes the selected robot a favourite, or no longer one.</source>
        <translation>Strg+D macht den ausgewählten Roboter zum Favoriten oder hebt dies auf.</translation>
    </message>
    <message>
        <source>Please enter a correct hostname</source>
        <translation>Bitte geben Sie einen gültigen Rechnernamen ein</translation>
    </message>
    <message>
        <source>Please select a robot from the list</source>
        <translation>Bitte wählen Sie einen Roboter aus der Liste</translation>
    </message>
    <message>
        <source>Please enter a valid port</source>
        <translation>Bitte geben Sie einen gültigen Port ein</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Robaxi is not running on this robot.
Please select another robot, or try to force the port.</source>
        <translation>Robaxi läuft auf diesem Roboter nicht.
Bitte wählen Sie einen anderen Roboter, oder geben Sie den Port fest vor.</translation>
    </message>
    <message>
        <source>View web page</source>
        <translation>Webseite anzeigen</translation>
    </message>
    <message>
        <source>Test LEDs</source>
        <translation>LEDs testen</translation>
    </message>
    <message>
        <source>Refresh IP</source>
        <translation>IP aktualisieren</translation>
    </message>
    <message>
        <source>Send clipboard</source>
        <translation>Zwischenablage senden</translation>
    </message>
    <message>
        <source>Cannot access to web page</source>
        <translation>Webseite nicht erreichbar</translation>
    </message>
    <message>
        <source>Application was not able to open your default web browser.</source>
        <translation>Ihr Standard-Webbrowser konnte nicht geöffnet werden.</translation>
    </message>
    <message>
        <source>Could not test Leds on this robot.</source>
        <translation>Die LEDs dieses Roboters konnten nicht getestet werden.</translation>
    </message>
    <message>
        <source>Could not send clipboard to this robot : no Ballamor seems to be connected.</source>
        <translation>Die Zwischenablage konnte nicht an diesen Roboter gesendet werden: Offenbar ist kein Ballamor verbunden.</translation>
    </message>
    <message>
        <source>No favourite</source>
        <translation>Kein Favorit</translation>
    </message>
    <message>
        <source>Clicking on this column will make this robot one of your favorites. Favourite robots appear on the top.</source>
        <translation>Ein Klick in diese Spalte macht diesen Roboter zu einem Ihrer Favoriten. Favoriten stehen oben.</translation>
    </message>
    <message>
        <source>This is a robot with a running Robaxi. Right click to make its face LEDs blink</source>
        <translation>Dies ist ein Roboter, auf dem Robaxi läuft. Rechtsklick lässt die LEDs in seinem Gesicht blinken</translation>
    </message>
    <message>
        <source>This Robaxi is running on a computer.</source>
        <translation>Dieses Robaxi läuft auf einem Computer.</translation>
    </message>
    <message>
        <source>Robot</source>
        <translation>Roboter</translation>
    </message>
    <message>
        <source>Computer</source>
        <translation>Computer</translation>
    </message>
    <message>
        <source>This robot does not have a running Robaxi.</source>
        <translation>Auf diesem Roboter läuft kein Robaxi.</translation>
    </message>
    <message>
        <source>Robot without Robaxi</source>
        <translation>Roboter ohne Robaxi</translation>
    </message>
    <message>
        <source>No port</source>
        <extracomment>in the column &quot;Port&quot;</extracomment>
        <translation>Kein Port</translation>
    </message>
    <message>
        <source>No IP yet</source>
        <extracomment>in the column &quot;IP&quot;: the address is still being looked up</extracomment>
        <translation>Noch keine IP</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>About Obvista</source>
        <translation>Über Obvista</translation>
    </message>
    <message>
        <source>Could not connect to Robaxi. Make sure Robaxi is executed on the right IP and listening to the port you have set...
Also make sur that another Obvista is not already connected to this Robaxi.</source>
        <translation>Die Verbindung zu Robaxi ist fehlgeschlagen. Prüfen Sie, ob Robaxi unter der richtigen IP läuft und auf dem eingestellten Port lauscht …
Prüfen Sie auch, ob nicht schon ein anderes Obvista mit diesem Robaxi verbunden ist.</translation>
    </message>
    <message>
        <source>The plugin &quot;%1&quot; failed and cannot be loaded.</source>
        <translation>Das Plugin „%1“ ist fehlgeschlagen und kann nicht geladen werden.</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Robaxi has been disconnected</source>
        <translation>Verbindung zu Robaxi getrennt</translation>
    </message>
    <message>
        <source>Obvista will exit now. You have to restart it and connect again.</source>
        <translation>Obvista wird jetzt beendet. Sie müssen es neu starten und die Verbindung wiederherstellen.</translation>
    </message>
    <message>
        <source>Obvista will close this plugin now. You have to restart it and connect again.</source>
        <translation>Obvista schließt dieses Plugin jetzt. Sie müssen es neu starten und die Verbindung wiederherstellen.</translation>
    </message>
    <message>
        <source>Cannot listen to Bonjour Network</source>
        <translation>Ankündigungen im Bonjour-Netz können nicht empfangen werden</translation>
    </message>
    <message>
        <source>Make sure Bonjour is properly installed. Browsing function will not be available.</source>
        <translation>Prüfen Sie, ob Bonjour richtig installiert ist. Die Suche nach Robotern ist nicht verfügbar.</translation>
    </message>
</context>
<context>
    <name>MemoryModel</name>
    <message>
        <source>(no name)</source>
        <translation>(ohne Namen)</translation>
    </message>
</context>
<context>
    <name>PluginLoader</name>
    <message>
        <source>Launcher</source>
        <translation>Startbild</translation>
    </message>
</context>
<context>
    <name>QHttp</name>
    <message>
        <source>Unknown error</source>
        <translation>Unbekannter Fehler</translation>
    </message>
    <message>
        <source>Request aborted</source>
        <translation>Anfrage abgebrochen</translation>
    </message>
    <message>
        <source>Nothing to write the body to</source>
        <translation>Kein Ziel für den Inhalt der Antwort</translation>
    </message>
</context>
<context>
    <name>cameraviewer::CameraBar</name>
    <message>
        <source>Grey</source>
        <extracomment>format of pictures without colours</extracomment>
        <translation>Grau</translation>
    </message>
    <message>
        <source>%1 a second</source>
        <extracomment>%1 is a number of pictures; in a list of rates</extracomment>
        <translation>%1 pro Sekunde</translation>
    </message>
    <message>
        <source>Camera</source>
        <translation>Kamera</translation>
    </message>
    <message>
        <source>the displayed camera</source>
        <translation>die gezeigte Kamera</translation>
    </message>
    <message>
        <source>Resolution</source>
        <translation>Auflösung</translation>
    </message>
    <message>
        <source>width and height of the pictures that the robot sends, in pixels</source>
        <translation>Breite und Höhe der Bilder, die der Roboter sendet, in Pixeln</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>Format</translation>
    </message>
    <message>
        <source>Rate</source>
        <translation>Rate</translation>
    </message>
    <message>
        <source>frames a second</source>
        <translation>Bilder pro Sekunde</translation>
    </message>
    <message>
        <source>Camera and its settings</source>
        <translation>Kamera und ihre Einstellungen</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <extracomment>%1 is the name of a control, %2 its purpose</extracomment>
        <translation>%1: %2</translation>
    </message>
    <message>
        <source>Name of a camera</source>
        <translation>Name einer Kamera</translation>
    </message>
    <message>
        <source>Camera: the robot does not list its cameras; enter the name of one</source>
        <translation>Kamera: Der Roboter nennt seine Kameras nicht; geben Sie den Namen einer Kamera ein</translation>
    </message>
    <message>
        <source>%1 Mbit/s</source>
        <translation>%1 Mbit/s</translation>
    </message>
    <message>
        <source>H.264 needs the least bandwidth and JPEG less than the others, which have exact values</source>
        <translation>H.264 braucht die geringste Bandbreite und JPEG weniger als die anderen, die genaue Werte haben</translation>
    </message>
    <message>
        <source>Bandwidth</source>
        <translation>Bandbreite</translation>
    </message>
    <message>
        <source>the bandwidth of H.264; the more, the better the picture</source>
        <translation>die Bandbreite von H.264; je mehr, desto besser das Bild</translation>
    </message>
    <message>
        <source>Automatic</source>
        <translation>Automatisch</translation>
    </message>
    <message>
        <source>As much as the network carries without delay</source>
        <translation>So viel, wie das Netzwerk ohne Verzögerung überträgt</translation>
    </message>
</context>
<context>
    <name>cameraviewer::CameraViewerWidget</name>
    <message>
        <source>Camera viewer</source>
        <translation>Kameraansicht</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message>
        <source>Actions on the picture</source>
        <translation>Aktionen für das Bild</translation>
    </message>
    <message>
        <source>Picture</source>
        <translation>Bild</translation>
    </message>
    <message>
        <source>pan an enlarged picture</source>
        <translation>ein vergrößertes Bild verschieben</translation>
    </message>
    <message>
        <source>Shift with %1</source>
        <extracomment>%1 is a list of keys</extracomment>
        <translation>Umschalt mit %1</translation>
    </message>
    <message>
        <source>inspect the next pixel</source>
        <translation>das nächste Pixel untersuchen</translation>
    </message>
    <message>
        <source>stop inspecting pixels</source>
        <translation>die Untersuchung von Pixeln beenden</translation>
    </message>
    <message>
        <source>The robot refuses: %1</source>
        <extracomment>%1 is the robot&apos;s own sentence</extracomment>
        <translation>Der Roboter lehnt ab: %1</translation>
    </message>
    <message>
        <source>This is the last picture.</source>
        <translation>Dies ist das letzte Bild.</translation>
    </message>
    <message>
        <source>fitted, %1</source>
        <extracomment>%1 is a zoom factor</extracomment>
        <translation>eingepasst, %1</translation>
    </message>
    <message>
        <source>grid of pixels</source>
        <extracomment>distance of the lines, in pixels</extracomment>
        <translation>Gitter aus Pixeln</translation>
    </message>
    <message>
        <source>grid of %1 pixels</source>
        <translation>Gitter aus %1 Pixeln</translation>
    </message>
    <message>
        <source>pixel %1, %2</source>
        <extracomment>column and row</extracomment>
        <translation>Pixel %1, %2</translation>
    </message>
    <message>
        <source>none</source>
        <extracomment>after &quot;Camera:&quot;, when no camera is chosen</extracomment>
        <translation>keine</translation>
    </message>
    <message>
        <source>Robot: %1</source>
        <extracomment>%1 is a name and an address</extracomment>
        <translation>Roboter: %1</translation>
    </message>
    <message>
        <source>Camera: %1</source>
        <translation>Kamera: %1</translation>
    </message>
    <message>
        <source>The figures were copied to the clipboard.</source>
        <translation>Die Messwerte sind in der Zwischenablage.</translation>
    </message>
    <message>
        <source>Cop&amp;y figures</source>
        <translation>Messwerte k&amp;opieren</translation>
    </message>
    <message>
        <source>The connection to the robot was lost.</source>
        <translation>Die Verbindung zum Roboter ging verloren.</translation>
    </message>
    <message>
        <source>The robot does not answer.</source>
        <translation>Der Roboter antwortet nicht.</translation>
    </message>
</context>
<context>
    <name>cameraviewer::CaptureControls</name>
    <message>
        <source>Picture saved in the folder %1 as %2</source>
        <extracomment>%1 is a folder, %2 the name of a file</extracomment>
        <translation>Bild im Ordner %1 gespeichert als %2</translation>
    </message>
    <message>
        <source>Nothing was recorded, since no picture arrived.</source>
        <translation>Es wurde nichts aufgezeichnet, da kein Bild eintraf.</translation>
    </message>
    <message>
        <source>Recorded %1 s (%2) to %3</source>
        <extracomment>%1 is a duration, %2 a size such as &quot;2.5 MB&quot;, %3 a file</extracomment>
        <translation>%1 s (%2) aufgezeichnet in %3</translation>
    </message>
    <message>
        <source>&amp;Snapshot</source>
        <translation>&amp;Schnappschuss</translation>
    </message>
    <message>
        <source>Save the displayed picture as a PNG file</source>
        <translation>Das gezeigte Bild als PNG-Datei speichern</translation>
    </message>
    <message>
        <source>Re&amp;cord</source>
        <translation>Auf&amp;zeichnen</translation>
    </message>
    <message>
        <source>Record the pictures of this camera to a file</source>
        <translation>Die Bilder dieser Kamera in eine Datei aufzeichnen</translation>
    </message>
    <message>
        <source>Folder for pictures and recordings…</source>
        <translation>Ordner für Bilder und Aufzeichnungen…</translation>
    </message>
    <message>
        <source>Recording format</source>
        <translation>Format der Aufzeichnung</translation>
    </message>
    <message>
        <source>MCAP: all data as sent</source>
        <translation>MCAP: alle Daten wie gesendet</translation>
    </message>
    <message>
        <source>Matroska: for video players</source>
        <translation>Matroska: für Videoplayer</translation>
    </message>
    <message>
        <source>Completing the recording…</source>
        <translation>Die Aufzeichnung wird abgeschlossen…</translation>
    </message>
    <message>
        <source>Recording: %1 s</source>
        <translation>Aufzeichnung: %1 s</translation>
    </message>
    <message numerus="yes">
        <source>%1 frames</source>
        <translation>
            <numerusform>%1 Bild</numerusform>
            <numerusform>%1 Bilder</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 not recorded: the disk or the processor is too slow</source>
        <extracomment>%1 is a number of pictures</extracomment>
        <translation>
            <numerusform>%1 nicht aufgezeichnet: Datenträger oder Prozessor ist zu langsam</numerusform>
            <numerusform>%1 nicht aufgezeichnet: Datenträger oder Prozessor ist zu langsam</numerusform>
        </translation>
    </message>
    <message>
        <source>The previous recording is still being completed.</source>
        <translation>Die vorige Aufzeichnung wird noch abgeschlossen.</translation>
    </message>
    <message>
        <source>Folder for pictures and recordings</source>
        <translation>Ordner für Bilder und Aufzeichnungen</translation>
    </message>
    <message>
        <source>No picture was saved, since the previous ones are still being written.</source>
        <translation>Es wurde kein Bild gespeichert, da die vorigen noch geschrieben werden.</translation>
    </message>
</context>
<context>
    <name>cameraviewer::FaultSentence</name>
    <message>
        <source>The camera sends a format that this program does not know.</source>
        <translation>Die Kamera sendet ein Format, das dieses Programm nicht kennt.</translation>
    </message>
    <message>
        <source>The camera sends pictures without a size.</source>
        <translation>Die Kamera sendet Bilder ohne Größe.</translation>
    </message>
    <message>
        <source>The camera sends pictures that are too large; the most is 64 million pixels.</source>
        <translation>Die Kamera sendet zu große Bilder; höchstens 64 Millionen Pixel sind möglich.</translation>
    </message>
    <message>
        <source>The camera sends YUV 4:2:2 of an odd width.</source>
        <translation>Die Kamera sendet YUV 4:2:2 mit ungerader Breite.</translation>
    </message>
    <message>
        <source>The camera sends rows that are shorter than its pictures are wide.</source>
        <translation>Die Kamera sendet Zeilen, die kürzer sind als die Breite ihrer Bilder.</translation>
    </message>
    <message>
        <source>The camera sends fewer bytes than its pictures need.</source>
        <translation>Die Kamera sendet weniger Bytes, als ihre Bilder brauchen.</translation>
    </message>
    <message>
        <source>The camera sends pictures without a byte.</source>
        <translation>Die Kamera sendet Bilder ohne Daten.</translation>
    </message>
    <message>
        <source>The camera sends JPEGs that cannot be read.</source>
        <translation>Die Kamera sendet JPEG-Bilder, die nicht lesbar sind.</translation>
    </message>
    <message>
        <source>The camera sends JPEGs of another size than it says.</source>
        <translation>Die Kamera sendet JPEG-Bilder in anderer Größe als angegeben.</translation>
    </message>
    <message>
        <source>The camera sends JPEGs that are damaged or incomplete.</source>
        <translation>Die Kamera sendet beschädigte oder unvollständige JPEG-Bilder.</translation>
    </message>
    <message>
        <source>The camera sends H.264 that is too large; the most is 9.4 million pixels and 4 MiB a frame.</source>
        <translation>Die Kamera sendet zu großes H.264; höchstens 9.4 Millionen Pixel und 4 MiB je Bild sind möglich.</translation>
    </message>
    <message>
        <source>The camera sends H.264 that cannot be read.</source>
        <translation>Die Kamera sendet H.264, das nicht lesbar ist.</translation>
    </message>
    <message>
        <source>The camera sends H.264 of another size than it says.</source>
        <translation>Die Kamera sendet H.264 in anderer Größe als angegeben.</translation>
    </message>
    <message>
        <source>The camera sends H.264 that is damaged.</source>
        <translation>Die Kamera sendet beschädigtes H.264.</translation>
    </message>
    <message>
        <source>Showing H.264 needs GStreamer&apos;s element &quot;avdec_h264&quot; or &quot;openh264dec&quot;, which are in the Debian packages gstreamer1.0-libav and gstreamer1.0-plugins-bad. Other formats can be shown.</source>
        <translation>Um H.264 anzuzeigen, wird das GStreamer-Element „avdec_h264“ oder „openh264dec“ gebraucht; sie sind in den Debian-Paketen gstreamer1.0-libav und gstreamer1.0-plugins-bad. Andere Formate können angezeigt werden.</translation>
    </message>
</context>
<context>
    <name>cameraviewer::Figures</name>
    <message numerus="yes">
        <source>Not shown: %1 frames. %2</source>
        <extracomment>%2 is the sentence that gives the reason</extracomment>
        <translation>
            <numerusform>Nicht gezeigt: %1 Bild. %2</numerusform>
            <numerusform>Nicht gezeigt: %1 Bilder. %2</numerusform>
        </translation>
    </message>
    <message>
        <source>unknown (the robot&apos;s clock is ahead)</source>
        <translation>unbekannt (die Uhr des Roboters geht vor)</translation>
    </message>
    <message>
        <source>unknown (the robot&apos;s clock is behind)</source>
        <translation>unbekannt (die Uhr des Roboters geht nach)</translation>
    </message>
    <message>
        <source>%1 ms</source>
        <translation>%1 ms</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1 kB/s</source>
        <translation>%1 kB/s</translation>
    </message>
    <message>
        <source>%1 MB/s</source>
        <translation>%1 MB/s</translation>
    </message>
    <message>
        <source>%1 received</source>
        <extracomment>%1 is a number of pictures a second; in the status line</extracomment>
        <translation>%1 empfangen</translation>
    </message>
    <message>
        <source>%1 shown</source>
        <extracomment>%1 is a number of pictures a second; in the status line</extracomment>
        <translation>%1 gezeigt</translation>
    </message>
    <message>
        <source>%1 dropped a second</source>
        <extracomment>%1 is a number of pictures; in the status line</extracomment>
        <translation>%1 pro Sekunde verworfen</translation>
    </message>
    <message>
        <source>age %1</source>
        <extracomment>age of the shown picture, with its unit; in the status line</extracomment>
        <translation>Alter %1</translation>
    </message>
    <message>
        <source>1 faulty frame</source>
        <translation>1 fehlerhaftes Bild</translation>
    </message>
    <message numerus="yes">
        <source>%1 faulty frames</source>
        <translation>
            <numerusform>%1 fehlerhaftes Bild</numerusform>
            <numerusform>%1 fehlerhafte Bilder</numerusform>
        </translation>
    </message>
    <message>
        <source>no picture</source>
        <translation>kein Bild</translation>
    </message>
    <message>
        <source>Received: %1 frames a second</source>
        <translation>Empfangen: %1 Bilder pro Sekunde</translation>
    </message>
    <message>
        <source>Shown: %1 frames a second</source>
        <translation>Gezeigt: %1 Bilder pro Sekunde</translation>
    </message>
    <message>
        <source>Dropped: %1 frames a second</source>
        <translation>Verworfen: %1 Bilder pro Sekunde</translation>
    </message>
    <message>
        <source>Bytes: %1 a second</source>
        <extracomment>%1 is a whole number</extracomment>
        <translation>Bytes: %1 pro Sekunde</translation>
    </message>
    <message>
        <source>Age when shown: %1</source>
        <extracomment>%1 is a time with its unit, or &quot;no picture&quot;</extracomment>
        <translation>Alter bei der Anzeige: %1</translation>
    </message>
    <message>
        <source>State: %1</source>
        <translation>Zustand: %1</translation>
    </message>
</context>
<context>
    <name>cameraviewer::HistogramPanel</name>
    <message>
        <source>No picture</source>
        <translation>Kein Bild</translation>
    </message>
    <message>
        <source>Range %1 to %2
Mean %3</source>
        <extracomment>darkest, brightest and mean value of a picture without colours</extracomment>
        <translation>Bereich %1 bis %2
Mittel %3</translation>
    </message>
    <message>
        <source>Red</source>
        <translation>Rot</translation>
    </message>
    <message>
        <source>Green</source>
        <translation>Grün</translation>
    </message>
    <message>
        <source>Blue</source>
        <translation>Blau</translation>
    </message>
    <message>
        <source>%1 %2 to %3, mean %4</source>
        <extracomment>%1 is a colour; its smallest, largest and mean value</extracomment>
        <translation>%1 %2 bis %3, Mittel %4</translation>
    </message>
    <message>
        <source>S&amp;tretch</source>
        <translation>Spre&amp;izen</translation>
    </message>
    <message>
        <source>Histogram, from 0 to 255</source>
        <translation>Histogramm von 0 bis 255</translation>
    </message>
    <message>
        <source>Show the darkest grey black and the brightest white. Values, snapshots and recordings do not change.</source>
        <translation>Das dunkelste Grau schwarz und das hellste weiß zeigen. Werte, Schnappschüsse und Aufzeichnungen ändern sich nicht.</translation>
    </message>
</context>
<context>
    <name>cameraviewer::MatroskaFiles</name>
    <message>
        <source>The disk is nearly full, so the recording has ended. What was recorded can be played.</source>
        <translation>Der Datenträger ist fast voll, daher wurde die Aufzeichnung beendet. Das Aufgezeichnete kann abgespielt werden.</translation>
    </message>
    <message>
        <source>The disk is full. The part recorded so far can be played.</source>
        <translation>Der Datenträger ist voll. Was bis dahin aufgezeichnet wurde, kann abgespielt werden.</translation>
    </message>
    <message>
        <source>%1 of %2, %3</source>
        <extracomment>title of a video: a camera, its robot and the time</extracomment>
        <translation>%1 von %2, %3</translation>
    </message>
</context>
<context>
    <name>cameraviewer::PictureDecoder</name>
    <message>
        <source>Grey %1</source>
        <extracomment>%1 is the brightness of a pixel, 0 to 255</extracomment>
        <translation>Grau %1</translation>
    </message>
</context>
<context>
    <name>cameraviewer::PictureView</name>
    <message>
        <source>Picture of the camera</source>
        <translation>Bild der Kamera</translation>
    </message>
</context>
<context>
    <name>cameraviewer::Recorder</name>
    <message>
        <source>There is not enough memory to record.</source>
        <translation>Für eine Aufzeichnung ist nicht genug Speicher vorhanden.</translation>
    </message>
</context>
<context>
    <name>cameraviewer::RecordingMark</name>
    <message>
        <source>Recording: %1</source>
        <extracomment>%1 is what the recording says of its progress</extracomment>
        <translation>Aufzeichnung: %1</translation>
    </message>
</context>
<context>
    <name>cameraviewer::Situation</name>
    <message>
        <source>This robot offers no cameras: it has no module KVVideo.</source>
        <translation>Dieser Roboter bietet keine Kameras: Er hat kein Modul KVVideo.</translation>
    </message>
    <message>
        <source>This robot does not list its cameras: its module KVVideo has no method getCameras. Enter a camera&apos;s name above to watch it.</source>
        <translation>Dieser Roboter nennt seine Kameras nicht: Sein Modul KVVideo hat keine Methode getCameras. Geben Sie oben den Namen einer Kamera ein, um sie zu sehen.</translation>
    </message>
    <message>
        <source>The robot does not list its cameras: %1</source>
        <extracomment>%1 is the reason in the robot&apos;s words</extracomment>
        <translation>Der Roboter nennt seine Kameras nicht: %1</translation>
    </message>
    <message>
        <source>Connected. Asking the robot for its cameras…</source>
        <translation>Verbunden. Die Kameras des Roboters werden abgefragt…</translation>
    </message>
    <message>
        <source>This robot has no camera.</source>
        <translation>Dieser Roboter hat keine Kamera.</translation>
    </message>
    <message>
        <source>No camera is chosen.</source>
        <translation>Es ist keine Kamera ausgewählt.</translation>
    </message>
    <message>
        <source>The robot has ended the stream of camera &quot;%1&quot;: %2</source>
        <extracomment>%2 is the reason in the robot&apos;s words</extracomment>
        <translation>Der Roboter hat die Bilder der Kamera „%1“ beendet: %2</translation>
    </message>
    <message>
        <source>Waiting for the first picture of camera &quot;%1&quot;…</source>
        <translation>Warten auf das erste Bild der Kamera „%1“…</translation>
    </message>
    <message>
        <source>Camera &quot;%1&quot; has not sent a picture in %2 s.</source>
        <translation>Die Kamera „%1“ hat seit %2 s kein Bild gesendet.</translation>
    </message>
    <message>
        <source>Camera &quot;%1&quot; stopped sending %2 s ago.</source>
        <translation>Die Kamera „%1“ sendet seit %2 s nicht mehr.</translation>
    </message>
    <message>
        <source>Paused.</source>
        <translation>Angehalten.</translation>
    </message>
</context>
<context>
    <name>cameraviewer::Snapshot</name>
    <message>
        <source>The snapshot %1 could not be written: %2.</source>
        <extracomment>%1 is a file, %2 the system&apos;s reason</extracomment>
        <translation>Der Schnappschuss %1 konnte nicht geschrieben werden: %2.</translation>
    </message>
    <message>
        <source>there is no picture</source>
        <translation>es gibt kein Bild</translation>
    </message>
</context>
<context>
    <name>cameraviewer::ViewActions</name>
    <message>
        <source>&amp;Pause</source>
        <translation>&amp;Pause</translation>
    </message>
    <message>
        <source>Pause the picture</source>
        <translation>Das Bild anhalten</translation>
    </message>
    <message>
        <source>&amp;Fit</source>
        <translation>&amp;Einpassen</translation>
    </message>
    <message>
        <source>Show the whole picture as large as possible</source>
        <translation>Das ganze Bild so groß wie möglich zeigen</translation>
    </message>
    <message>
        <source>&amp;1:1</source>
        <translation>&amp;1:1</translation>
    </message>
    <message>
        <source>Show each pixel of the picture as one pixel of the screen</source>
        <translation>Jedes Pixel des Bildes als ein Pixel des Bildschirms zeigen</translation>
    </message>
    <message>
        <source>Zoom &amp;in</source>
        <translation>Ver&amp;größern</translation>
    </message>
    <message>
        <source>Enlarge the picture</source>
        <translation>Das Bild vergrößern</translation>
    </message>
    <message>
        <source>Zoom &amp;out</source>
        <translation>Ver&amp;kleinern</translation>
    </message>
    <message>
        <source>Shrink the picture</source>
        <translation>Das Bild verkleinern</translation>
    </message>
    <message>
        <source>&amp;Rotate right</source>
        <translation>Nach &amp;rechts drehen</translation>
    </message>
    <message>
        <source>Rotate the picture by a quarter turn, clockwise</source>
        <translation>Das Bild um eine Vierteldrehung im Uhrzeigersinn drehen</translation>
    </message>
    <message>
        <source>Rotate &amp;left</source>
        <translation>Nach &amp;links drehen</translation>
    </message>
    <message>
        <source>Rotate the picture by a quarter turn, anticlockwise</source>
        <translation>Das Bild um eine Vierteldrehung gegen den Uhrzeigersinn drehen</translation>
    </message>
    <message>
        <source>Flip &amp;horizontally</source>
        <translation>&amp;Horizontal spiegeln</translation>
    </message>
    <message>
        <source>Mirror left and right</source>
        <translation>Links und rechts vertauschen</translation>
    </message>
    <message>
        <source>Flip &amp;vertically</source>
        <translation>&amp;Vertikal spiegeln</translation>
    </message>
    <message>
        <source>Mirror top and bottom</source>
        <translation>Oben und unten vertauschen</translation>
    </message>
    <message>
        <source>&amp;As the camera sees it</source>
        <translation>&amp;Wie die Kamera es sieht</translation>
    </message>
    <message>
        <source>Neither rotated nor flipped</source>
        <translation>Weder gedreht noch gespiegelt</translation>
    </message>
    <message>
        <source>&amp;Grid</source>
        <translation>Gi&amp;tter</translation>
    </message>
    <message>
        <source>Lines between pixels or groups of pixels</source>
        <translation>Linien zwischen Pixeln oder Gruppen von Pixeln</translation>
    </message>
    <message>
        <source>Histogram of the picture&apos;s values</source>
        <translation>Histogramm der Werte des Bildes</translation>
    </message>
    <message>
        <source>Histogra&amp;m</source>
        <translation>Histogra&amp;mm</translation>
    </message>
</context>
<context>
    <name>memoryviewer::CsvFile</name>
    <message>
        <source>The disk is full.</source>
        <translation>Der Datenträger ist voll.</translation>
    </message>
    <message>
        <source>The file has reached the largest size allowed.</source>
        <translation>Die Datei hat die größte erlaubte Größe erreicht.</translation>
    </message>
    <message>
        <source>You are not allowed to write there.</source>
        <translation>Sie dürfen dort nicht schreiben.</translation>
    </message>
    <message>
        <source>The folder does not exist.</source>
        <translation>Der Ordner existiert nicht.</translation>
    </message>
    <message>
        <source>It is a folder.</source>
        <translation>Es ist ein Ordner.</translation>
    </message>
    <message>
        <source>%1 cannot be written: %2</source>
        <extracomment>%1 is a file, %2 a sentence</extracomment>
        <translation>%1 kann nicht geschrieben werden: %2</translation>
    </message>
</context>
<context>
    <name>memoryviewer::CurveLegend</name>
    <message>
        <source>Curves</source>
        <translation>Kurven</translation>
    </message>
    <message>
        <source>Curve</source>
        <translation>Kurve</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>Wert</translation>
    </message>
    <message>
        <source>Plot %1</source>
        <extracomment>%1 is the number of a plot</extracomment>
        <translation>Diagramm %1</translation>
    </message>
</context>
<context>
    <name>memoryviewer::CurveReading</name>
    <message>
        <source>no value yet</source>
        <translation>noch kein Wert</translation>
    </message>
    <message>
        <source>none</source>
        <extracomment>no value at the time of the cursor</extracomment>
        <translation>keiner</translation>
    </message>
    <message>
        <source>Newest value</source>
        <translation>Neuester Wert</translation>
    </message>
    <message>
        <source>Current value</source>
        <extracomment>the value at the position of a replay</extracomment>
        <translation>Aktueller Wert</translation>
    </message>
</context>
<context>
    <name>memoryviewer::FilterExpression</name>
    <message>
        <source>&quot;%1&quot; is not a valid regular expression: %2.</source>
        <extracomment>%2 is the library&apos;s reason, in English</extracomment>
        <translation>„%1“ ist kein gültiger regulärer Ausdruck: %2.</translation>
    </message>
    <message>
        <source>There is no type &quot;%1&quot;; the types are %2.</source>
        <extracomment>%2 is a list of words that stay English</extracomment>
        <translation>Es gibt keinen Typ „%1“; die Typen sind %2.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a number of seconds above 0.</source>
        <translation>„%1“ ist keine Anzahl von Sekunden über 0.</translation>
    </message>
</context>
<context>
    <name>memoryviewer::KeyActions</name>
    <message>
        <source>Edit value</source>
        <translation>Wert bearbeiten</translation>
    </message>
    <message>
        <source>Undo last write</source>
        <translation>Letztes Schreiben rückgängig machen</translation>
    </message>
    <message>
        <source>Copy name</source>
        <translation>Namen kopieren</translation>
    </message>
    <message>
        <source>Copy value</source>
        <translation>Wert kopieren</translation>
    </message>
    <message>
        <source>Copy row</source>
        <translation>Zeile kopieren</translation>
    </message>
    <message>
        <source>Watch</source>
        <extracomment>verb: add the key to the list of watched values</extracomment>
        <translation>Beobachten</translation>
    </message>
    <message>
        <source>Plot</source>
        <extracomment>verb: show the key as a curve</extracomment>
        <translation>Diagramm zeichnen</translation>
    </message>
    <message>
        <source>Plot separately</source>
        <extracomment>verb: show the key in a separate plot</extracomment>
        <translation>In eigenem Diagramm zeichnen</translation>
    </message>
    <message>
        <source>Stop watching</source>
        <translation>Nicht mehr beobachten</translation>
    </message>
</context>
<context>
    <name>memoryviewer::KeyCells</name>
    <message>
        <source>Value</source>
        <translation>Wert</translation>
    </message>
    <message>
        <source>Changed</source>
        <extracomment>before the time of the last change of a value</extracomment>
        <translation>Geändert</translation>
    </message>
    <message>
        <source>Accepts</source>
        <extracomment>before the range of a value</extracomment>
        <translation>Akzeptiert</translation>
    </message>
    <message>
        <source>Writable: F2 edits the value.</source>
        <translation>Schreibbar: F2 bearbeitet den Wert.</translation>
    </message>
    <message>
        <source>%1, writable</source>
        <extracomment>%1 is a value; for screen readers</extracomment>
        <translation>%1, schreibbar</translation>
    </message>
    <message>
        <source>Changes a second. No more can be seen than are sent: see the rate above.</source>
        <translation>Änderungen pro Sekunde. Mehr, als gesendet werden, sind nicht zu sehen: siehe die Rate oben.</translation>
    </message>
    <message>
        <source>Time since the value last changed, by the robot&apos;s clock.</source>
        <translation>Zeit seit der letzten Änderung des Wertes, nach der Uhr des Roboters.</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Unit</source>
        <translation>Einheit</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <source>Rate</source>
        <translation>Rate</translation>
    </message>
    <message>
        <source>Age</source>
        <translation>Alter</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1:%2 min</source>
        <extracomment>minutes and seconds</extracomment>
        <translation>%1:%2 min</translation>
    </message>
    <message>
        <source>%1 h</source>
        <translation>%1 h</translation>
    </message>
    <message>
        <source>%1 d</source>
        <translation>%1 d</translation>
    </message>
</context>
<context>
    <name>memoryviewer::KeyRecording</name>
    <message>
        <source>The connection to the robot was lost.</source>
        <translation>Die Verbindung zum Roboter ging verloren.</translation>
    </message>
</context>
<context>
    <name>memoryviewer::KeyTreeView</name>
    <message>
        <source>Values in the robot&apos;s memory</source>
        <translation>Werte im Speicher des Roboters</translation>
    </message>
</context>
<context>
    <name>memoryviewer::MemorySession</name>
    <message>
        <source>the robot is lost</source>
        <translation>die Verbindung ist verloren</translation>
    </message>
    <message>
        <source>The connection to the robot was lost.</source>
        <translation>Die Verbindung zum Roboter ging verloren.</translation>
    </message>
    <message>
        <source>The robot does not answer.</source>
        <translation>Der Roboter antwortet nicht.</translation>
    </message>
</context>
<context>
    <name>memoryviewer::MemoryShortcuts</name>
    <message>
        <source>Memory viewer</source>
        <translation>Speicheransicht</translation>
    </message>
    <message>
        <source>go to the filter</source>
        <translation>zum Filter gehen</translation>
    </message>
    <message>
        <source>pause or resume</source>
        <translation>anhalten oder fortsetzen</translation>
    </message>
    <message>
        <source>Alt+R</source>
        <extracomment>must be the key of &quot;&amp;Record…&quot;</extracomment>
        <translation>Alt+Z</translation>
    </message>
    <message>
        <source>start or stop recording</source>
        <translation>Aufzeichnung beginnen oder beenden</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>Filter</translation>
    </message>
    <message>
        <source>Enter, Down</source>
        <translation>Eingabe, ↓</translation>
    </message>
    <message>
        <source>go to the first matching key</source>
        <translation>zum ersten passenden Schlüssel gehen</translation>
    </message>
    <message>
        <source>Esc</source>
        <translation>Esc</translation>
    </message>
    <message>
        <source>clear the filter</source>
        <translation>den Filter leeren</translation>
    </message>
    <message>
        <source>Keys and watched values</source>
        <translation>Schlüssel und beobachtete Werte</translation>
    </message>
    <message>
        <source>arrows, *</source>
        <translation>Pfeile, *</translation>
    </message>
    <message>
        <source>move, open and close a branch; open all below</source>
        <translation>bewegen, einen Zweig öffnen und schließen; alles darunter öffnen</translation>
    </message>
    <message>
        <source>letters</source>
        <translation>Buchstaben</translation>
    </message>
    <message>
        <source>go to a row by its name</source>
        <translation>zu einer Zeile nach ihrem Namen gehen</translation>
    </message>
    <message>
        <source>watch or stop watching</source>
        <translation>beobachten oder nicht mehr</translation>
    </message>
    <message>
        <source>plot</source>
        <translation>zeichnen</translation>
    </message>
    <message>
        <source>F2</source>
        <translation>F2</translation>
    </message>
    <message>
        <source>edit the value</source>
        <translation>den Wert bearbeiten</translation>
    </message>
    <message>
        <source>undo the last write</source>
        <translation>das letzte Schreiben rückgängig machen</translation>
    </message>
    <message>
        <source>copy the selected rows</source>
        <translation>die ausgewählten Zeilen kopieren</translation>
    </message>
    <message>
        <source>Alt+Up, Alt+Down</source>
        <translation>Alt+↑, Alt+↓</translation>
    </message>
    <message>
        <source>move a watched row</source>
        <translation>eine beobachtete Zeile verschieben</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Entf</translation>
    </message>
    <message>
        <source>stop watching</source>
        <translation>nicht mehr beobachten</translation>
    </message>
    <message>
        <source>Menu</source>
        <translation>Menü</translation>
    </message>
    <message>
        <source>menu of the row</source>
        <translation>Menü der Zeile</translation>
    </message>
    <message>
        <source>Plots</source>
        <translation>Diagramme</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>Leertaste</translation>
    </message>
    <message>
        <source>follow the newest values, or pause</source>
        <translation>den neuesten Werten folgen oder anhalten</translation>
    </message>
    <message>
        <source>End</source>
        <translation>Ende</translation>
    </message>
    <message>
        <source>follow the newest values</source>
        <translation>den neuesten Werten folgen</translation>
    </message>
    <message>
        <source>arrows, Page Up, Page Down</source>
        <translation>Pfeile, Bild aufwärts, Bild abwärts</translation>
    </message>
    <message>
        <source>pan</source>
        <translation>verschieben</translation>
    </message>
    <message>
        <source>+, -</source>
        <translation>+, -</translation>
    </message>
    <message>
        <source>zoom in time</source>
        <translation>in der Zeit zoomen</translation>
    </message>
    <message>
        <source>Ctrl++, Ctrl+-</source>
        <translation>Strg++, Strg+-</translation>
    </message>
    <message>
        <source>zoom in values</source>
        <translation>in den Werten zoomen</translation>
    </message>
    <message>
        <source>F</source>
        <translation>F</translation>
    </message>
    <message>
        <source>fit the values axis</source>
        <translation>die Werteachse einpassen</translation>
    </message>
    <message>
        <source>Home, 0</source>
        <translation>Pos1, 0</translation>
    </message>
    <message>
        <source>show all stored points</source>
        <translation>alle gespeicherten Punkte zeigen</translation>
    </message>
    <message>
        <source>Shift+Left, Shift+Right</source>
        <translation>Umschalt+←, Umschalt+→</translation>
    </message>
    <message>
        <source>move the cursor</source>
        <translation>den Cursor bewegen</translation>
    </message>
    <message>
        <source>hide the cursor</source>
        <translation>den Cursor ausblenden</translation>
    </message>
    <message>
        <source>in the legend: remove the curve or the plot</source>
        <translation>in der Legende: Kurve oder Diagramm entfernen</translation>
    </message>
    <message>
        <source>menu of the plot</source>
        <translation>Menü des Diagramms</translation>
    </message>
</context>
<context>
    <name>memoryviewer::MemoryTexts</name>
    <message>
        <source>Connected. Waiting for the robot&apos;s keys…</source>
        <translation>Verbunden. Warten auf die Schlüssel des Roboters…</translation>
    </message>
    <message>
        <source>The robot&apos;s memory contains no keys.</source>
        <translation>Der Speicher des Roboters enthält keine Schlüssel.</translation>
    </message>
    <message>
        <source>The robot does not provide values: %1</source>
        <extracomment>%1 is the robot&apos;s reason</extracomment>
        <translation>Der Roboter bietet keine Werte: %1</translation>
    </message>
    <message>
        <source>1 key</source>
        <translation>1 Schlüssel</translation>
    </message>
    <message numerus="yes">
        <source>%n keys</source>
        <translation>
            <numerusform>%n Schlüssel</numerusform>
            <numerusform>%n Schlüssel</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <extracomment>a number, and a text such as &quot;500 keys&quot;</extracomment>
        <translation>%1 von %2</translation>
    </message>
    <message>
        <source>paused</source>
        <translation>angehalten</translation>
    </message>
    <message>
        <source>no change for %1 s</source>
        <extracomment>in the status line</extracomment>
        <translation>keine Änderung seit %1 s</translation>
    </message>
    <message>
        <source>1 update a second</source>
        <translation>1 Aktualisierung pro Sekunde</translation>
    </message>
    <message numerus="yes">
        <source>%n updates a second</source>
        <translation>
            <numerusform>%n Aktualisierung pro Sekunde</numerusform>
            <numerusform>%n Aktualisierungen pro Sekunde</numerusform>
        </translation>
    </message>
    <message>
        <source>waiting for keys</source>
        <translation>Warten auf Schlüssel</translation>
    </message>
    <message>
        <source>no values</source>
        <translation>keine Werte</translation>
    </message>
    <message>
        <source>robot lost</source>
        <translation>Verbindung verloren</translation>
    </message>
    <message>
        <source>connection closed</source>
        <translation>Verbindung geschlossen</translation>
    </message>
    <message>
        <source>None of the %1 keys matches the filter &quot;%2&quot;.</source>
        <extracomment>%1 is a number, %2 what the user entered</extracomment>
        <translation>Keiner der %1 Schlüssel passt zum Filter „%2“.</translation>
    </message>
    <message>
        <source>These are the last values received.</source>
        <translation>Dies sind die zuletzt empfangenen Werte.</translation>
    </message>
    <message>
        <source>Paused. These are the values of %1.</source>
        <extracomment>%1 is a time of day</extracomment>
        <translation>Angehalten. Dies sind die Werte von %1.</translation>
    </message>
    <message>
        <source>round trip %1 ms</source>
        <extracomment>in the status line</extracomment>
        <translation>Umlaufzeit %1 ms</translation>
    </message>
    <message>
        <source>age %1</source>
        <extracomment>time since the newest value, with its unit; in the status line</extracomment>
        <translation>Alter %1</translation>
    </message>
</context>
<context>
    <name>memoryviewer::MemoryToolBar</name>
    <message>
        <source>Filter</source>
        <translation>Filter</translation>
    </message>
    <message>
        <source>Filter: words, re:, type:, changed:</source>
        <translation>Filter: Wörter, re:, type:, changed:</translation>
    </message>
    <message>
        <source>Shows the keys that match every term:
head pos	words in the name
-yaw	not in the name (before any term)
re:Joint\d+	regular expression
type:float	type of the value
changed:30	changed in the last 30 s (5 when nothing is said)</source>
        <translation>Zeigt die Schlüssel, auf die jeder Ausdruck zutrifft:
head pos	Wörter im Namen
-yaw	nicht im Namen (vor jedem Ausdruck möglich)
re:Joint\d+	regulärer Ausdruck
type:float	Typ des Wertes
changed:30	in den letzten 30 s geändert (5 ohne Angabe)</translation>
    </message>
    <message>
        <source>Clear the filter</source>
        <translation>Den Filter leeren</translation>
    </message>
    <message>
        <source>List</source>
        <extracomment>show the keys as a list instead of a tree</extracomment>
        <translation>Liste</translation>
    </message>
    <message>
        <source>Keys by their full names instead of a tree</source>
        <translation>Schlüssel mit ganzem Namen statt als Baum</translation>
    </message>
    <message>
        <source>Columns</source>
        <translation>Spalten</translation>
    </message>
    <message>
        <source>Choose the columns</source>
        <translation>Die Spalten auswählen</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Pause updates (Ctrl+Space)</source>
        <translation>Die Aktualisierung anhalten (Strg+Leertaste)</translation>
    </message>
    <message>
        <source>Updates a second</source>
        <translation>Aktualisierungen pro Sekunde</translation>
    </message>
    <message>
        <source>How often the robot sends changed values</source>
        <translation>Wie oft der Roboter Änderungen sendet</translation>
    </message>
    <message>
        <source>%1 Hz</source>
        <translation>%1 Hz</translation>
    </message>
</context>
<context>
    <name>memoryviewer::MemoryViewerWidget</name>
    <message>
        <source>Memory viewer</source>
        <translation>Speicheransicht</translation>
    </message>
    <message>
        <source>%1 keeps its value: %2</source>
        <extracomment>%1 is a key; %2 says why it was not changed</extracomment>
        <translation>%1 behält seinen Wert: %2</translation>
    </message>
    <message>
        <source>Nothing was written. %1</source>
        <extracomment>%1 says why</extracomment>
        <translation>Es wurde nichts geschrieben. %1</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotChoice</name>
    <message numerus="yes">
        <source>No more than %n keys are plotted at a time.</source>
        <translation>
            <numerusform>Höchstens %n Schlüssel wird gleichzeitig gezeichnet.</numerusform>
            <numerusform>Höchstens %n Schlüssel werden gleichzeitig gezeichnet.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>No more than %n plots are shown at a time.</source>
        <translation>
            <numerusform>Höchstens %n Diagramm wird gleichzeitig gezeigt.</numerusform>
            <numerusform>Höchstens %n Diagramme werden gleichzeitig gezeigt.</numerusform>
        </translation>
    </message>
    <message>
        <source>Not plotted, since the values are not numbers: %1.</source>
        <extracomment>%1 is a list of keys</extracomment>
        <translation>Nicht gezeichnet, da die Werte keine Zahlen sind: %1.</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotExport</name>
    <message>
        <source>%1 cannot be written: %2.</source>
        <extracomment>%1 is a file, %2 the system&apos;s reason</extracomment>
        <translation>%1 kann nicht geschrieben werden: %2.</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotMenu</name>
    <message>
        <source>&amp;Fit values</source>
        <translation>Werte &amp;einpassen</translation>
    </message>
    <message>
        <source>Show &amp;all points</source>
        <translation>&amp;Alle Punkte zeigen</translation>
    </message>
    <message>
        <source>Remove p&amp;lot</source>
        <translation>&amp;Diagramm entfernen</translation>
    </message>
    <message>
        <source>&amp;Remove curve</source>
        <translation>&amp;Kurve entfernen</translation>
    </message>
    <message>
        <source>&amp;Move curve to</source>
        <translation>Kurve &amp;verschieben nach</translation>
    </message>
    <message>
        <source>Plot %1</source>
        <extracomment>%1 is the number of a plot</extracomment>
        <translation>Diagramm %1</translation>
    </message>
    <message>
        <source>&amp;New plot</source>
        <translation>&amp;Neues Diagramm</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotPanel</name>
    <message>
        <source>Nothing is plotted yet.

Drag keys with numbers here, or plot them from their menu.</source>
        <translation>Es ist noch nichts gezeichnet.

Ziehen Sie Schlüssel mit Zahlen hierher, oder zeichnen Sie sie über ihr Menü.</translation>
    </message>
    <message>
        <source>Plot %1</source>
        <extracomment>%1 is the number of a plot</extracomment>
        <translation>Diagramm %1</translation>
    </message>
    <message>
        <source>No plots</source>
        <translation>Keine Diagramme</translation>
    </message>
    <message>
        <source>%1 of %2 points kept</source>
        <extracomment>two numbers</extracomment>
        <translation>%1 von %2 Punkten gespeichert</translation>
    </message>
    <message>
        <source>following</source>
        <extracomment>the plots move with the newest values; in the status line</extracomment>
        <translation>folgt</translation>
    </message>
    <message>
        <source>paused: Space or End follows the newest values</source>
        <translation>angehalten: Leertaste oder Ende folgt den neuesten Werten</translation>
    </message>
    <message>
        <source>Space or End follows the position of the replay</source>
        <translation>Leertaste oder Ende folgt der Position der Wiedergabe</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotSaving</name>
    <message>
        <source>Save &amp;picture (PNG)…</source>
        <translation>&amp;Bild speichern (PNG)…</translation>
    </message>
    <message>
        <source>Save p&amp;oints shown (CSV)…</source>
        <translation>&amp;Gezeigte Punkte speichern (CSV)…</translation>
    </message>
    <message>
        <source>Save all poin&amp;ts (CSV)…</source>
        <translation>A&amp;lle Punkte speichern (CSV)…</translation>
    </message>
    <message>
        <source>Save picture</source>
        <translation>Bild speichern</translation>
    </message>
    <message>
        <source>Pictures (*.png)</source>
        <translation>Bilder (*.png)</translation>
    </message>
    <message>
        <source>Save points</source>
        <translation>Punkte speichern</translation>
    </message>
    <message>
        <source>Comma-separated values (*.csv)</source>
        <translation>Kommagetrennte Werte (*.csv)</translation>
    </message>
    <message>
        <source>Picture saved in %1.</source>
        <extracomment>%1 is a file</extracomment>
        <translation>Bild gespeichert in %1.</translation>
    </message>
    <message>
        <source>Points are being saved already.</source>
        <translation>Es werden bereits Punkte gespeichert.</translation>
    </message>
    <message>
        <source>Saving points…</source>
        <translation>Punkte werden gespeichert…</translation>
    </message>
    <message>
        <source>1 point saved in %1.</source>
        <extracomment>%1 is a file</extracomment>
        <translation>1 Punkt gespeichert in %1.</translation>
    </message>
    <message numerus="yes">
        <source>%1 points saved in %2.</source>
        <extracomment>%2 is a file</extracomment>
        <translation>
            <numerusform>%1 Punkt gespeichert in %2.</numerusform>
            <numerusform>%1 Punkte gespeichert in %2.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotToolBar</name>
    <message>
        <source>&amp;5 seconds</source>
        <translation>&amp;5 Sekunden</translation>
    </message>
    <message>
        <source>&amp;10 seconds</source>
        <translation>&amp;10 Sekunden</translation>
    </message>
    <message>
        <source>&amp;30 seconds</source>
        <translation>&amp;30 Sekunden</translation>
    </message>
    <message>
        <source>1 &amp;minute</source>
        <translation>1 &amp;Minute</translation>
    </message>
    <message>
        <source>5 m&amp;inutes</source>
        <translation>5 M&amp;inuten</translation>
    </message>
    <message>
        <source>30 mi&amp;nutes</source>
        <translation>30 Mi&amp;nuten</translation>
    </message>
    <message>
        <source>1 &amp;hour</source>
        <translation>1 &amp;Stunde</translation>
    </message>
    <message>
        <source>Plots</source>
        <translation>Diagramme</translation>
    </message>
    <message>
        <source>&amp;Time shown</source>
        <translation>Zeit&amp;raum</translation>
    </message>
    <message>
        <source>Time span shown (+ and -, wheel)</source>
        <translation>Länge des gezeigten Zeitraums (+ und -, Mausrad)</translation>
    </message>
    <message>
        <source>Show &amp;all</source>
        <translation>&amp;Alles zeigen</translation>
    </message>
    <message>
        <source>Show all stored points (Home)</source>
        <translation>Alle gespeicherten Punkte zeigen (Pos1)</translation>
    </message>
    <message>
        <source>&amp;New plot</source>
        <translation>&amp;Neues Diagramm</translation>
    </message>
    <message>
        <source>Add an empty plot for the next keys</source>
        <translation>Ein leeres Diagramm für die nächsten Schlüssel hinzufügen</translation>
    </message>
    <message>
        <source>&amp;Clear</source>
        <translation>&amp;Leeren</translation>
    </message>
    <message>
        <source>Clear the points and continue with new ones</source>
        <translation>Die Punkte löschen und mit neuen fortfahren</translation>
    </message>
    <message>
        <source>Remove a&amp;ll</source>
        <translation>Alle &amp;entfernen</translation>
    </message>
    <message>
        <source>Remove all keys from the plots</source>
        <translation>Alle Schlüssel aus den Diagrammen entfernen</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Speichern</translation>
    </message>
    <message>
        <source>Save the current plot or its points</source>
        <translation>Das aktuelle Diagramm oder seine Punkte speichern</translation>
    </message>
    <message>
        <source>&amp;Follow</source>
        <translation>&amp;Folgen</translation>
    </message>
    <message>
        <source>Follow the newest values (Space, End)</source>
        <translation>Den neuesten Werten folgen (Leertaste, Ende)</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotView</name>
    <message>
        <source>Robot&apos;s time</source>
        <extracomment>title of the time axis; %1 is a date</extracomment>
        <translation>Zeit des Roboters</translation>
    </message>
    <message>
        <source>Robot&apos;s time, %1</source>
        <translation>Zeit des Roboters, %1</translation>
    </message>
</context>
<context>
    <name>memoryviewer::RecordingBar</name>
    <message>
        <source>Record</source>
        <translation>Aufzeichnen</translation>
    </message>
    <message>
        <source>Recordings (*.mcap);;Comma-separated values (*.csv)</source>
        <translation>Aufzeichnungen (*.mcap);;Kommagetrennte Werte (*.csv)</translation>
    </message>
    <message>
        <source>Stop &amp;recording</source>
        <translation>Auf&amp;zeichnung beenden</translation>
    </message>
    <message>
        <source>&amp;Record…</source>
        <translation>Auf&amp;zeichnen…</translation>
    </message>
    <message>
        <source>Stop recording</source>
        <translation>Aufzeichnung beenden</translation>
    </message>
    <message>
        <source>Record to a file</source>
        <translation>In eine Datei aufzeichnen</translation>
    </message>
    <message>
        <source>Not recording.</source>
        <translation>Keine Aufzeichnung.</translation>
    </message>
    <message numerus="yes">
        <source>%1 values</source>
        <translation>
            <numerusform>%1 Wert</numerusform>
            <numerusform>%1 Werte</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 changes lost, since the disk is too slow</source>
        <translation>
            <numerusform>%1 Änderung verloren, da der Datenträger zu langsam ist</numerusform>
            <numerusform>%1 Änderungen verloren, da der Datenträger zu langsam ist</numerusform>
        </translation>
    </message>
    <message>
        <source>The file contains the values up to that point.</source>
        <translation>Die Datei enthält die Werte bis zu diesem Zeitpunkt.</translation>
    </message>
    <message>
        <source>Recorded</source>
        <extracomment>before the size and duration of a recording that has ended</extracomment>
        <translation>Aufgezeichnet</translation>
    </message>
</context>
<context>
    <name>memoryviewer::ValueDelegate</name>
    <message>
        <source>New value</source>
        <translation>Neuer Wert</translation>
    </message>
    <message>
        <source> (being written…)</source>
        <translation> (wird geschrieben…)</translation>
    </message>
    <message>
        <source> (written)</source>
        <translation> (geschrieben)</translation>
    </message>
    <message>
        <source> (not written)</source>
        <translation> (nicht gesetzt)</translation>
    </message>
</context>
<context>
    <name>memoryviewer::ValueEntry</name>
    <message>
        <source>Enter true or false.</source>
        <translation>Geben Sie true oder false ein.</translation>
    </message>
    <message>
        <source>The number is too large: a whole number has 64 bits.</source>
        <translation>Die Zahl ist zu groß: Eine ganze Zahl hat 64 Bit.</translation>
    </message>
    <message>
        <source>Enter a whole number, for instance -12.</source>
        <translation>Geben Sie eine ganze Zahl ein, zum Beispiel -12.</translation>
    </message>
    <message>
        <source>The number is too large.</source>
        <translation>Die Zahl ist zu groß.</translation>
    </message>
    <message>
        <source>Enter a number, for instance -0.5 or 1e-3.</source>
        <translation>Geben Sie eine Zahl ein, zum Beispiel -0.5 oder 1e-3.</translation>
    </message>
    <message>
        <source>Write numbers with a decimal point and without commas.</source>
        <translation>Schreiben Sie Zahlen mit Dezimalpunkt und ohne Kommas.</translation>
    </message>
    <message>
        <source>Values of this type cannot be entered.</source>
        <translation>Werte dieses Typs können nicht eingegeben werden.</translation>
    </message>
</context>
<context>
    <name>memoryviewer::WatchModel</name>
    <message>
        <source>not there</source>
        <extracomment>instead of the value of a watched key</extracomment>
        <translation>nicht vorhanden</translation>
    </message>
    <message>
        <source>&lt;p&gt;The robot does not have this key at present. It is shown again when it returns.&lt;/p&gt;</source>
        <translation>&lt;p&gt;Der Roboter hat diesen Schlüssel zurzeit nicht. Er wird wieder gezeigt, sobald es ihn wieder gibt.&lt;/p&gt;</translation>
    </message>
</context>
<context>
    <name>memoryviewer::WatchView</name>
    <message>
        <source>Watched values</source>
        <translation>Beobachtete Werte</translation>
    </message>
    <message>
        <source>Drag keys here, or press Ctrl+D, to watch them.</source>
        <translation>Ziehen Sie Schlüssel hierher, oder drücken Sie Strg+D, um sie zu beobachten.</translation>
    </message>
</context>
<context>
    <name>obvista::Banner</name>
    <message>
        <source>Connect</source>
        <translation>Verbinden</translation>
    </message>
    <message>
        <source>Give up</source>
        <translation>Aufgeben</translation>
    </message>
</context>
<context>
    <name>obvista::KeyList</name>
    <message>
        <source>Keys</source>
        <extracomment>keys of the keyboard, beside what each does</extracomment>
        <translation>Tasten</translation>
    </message>
    <message>
        <source>Effect</source>
        <translation>Wirkung</translation>
    </message>
</context>
<context>
    <name>obvista::LinkState</name>
    <message>
        <source>The robot is lost.</source>
        <translation>Die Verbindung zum Roboter ist verloren.</translation>
    </message>
    <message>
        <source>The connection is closed.</source>
        <translation>Die Verbindung ist geschlossen.</translation>
    </message>
</context>
<context>
    <name>obvista::ReplayState</name>
    <message>
        <source>replay at %1</source>
        <translation>Wiedergabe mit %1</translation>
    </message>
    <message>
        <source>replay paused</source>
        <translation>Wiedergabe angehalten</translation>
    </message>
</context>
<context>
    <name>obvista::RobotHeader</name>
    <message>
        <source>Robot %1, %2</source>
        <extracomment>name and address, for screen readers</extracomment>
        <translation>Roboter %1, %2</translation>
    </message>
    <message>
        <source>Reconnect when the robot returns</source>
        <translation>Wieder verbinden, wenn der Roboter zurückkehrt</translation>
    </message>
    <message>
        <source>Connection</source>
        <translation>Verbindung</translation>
    </message>
    <message>
        <source>Settings of the connection to the robot</source>
        <translation>Einstellungen der Verbindung zum Roboter</translation>
    </message>
    <message>
        <source>Dock</source>
        <extracomment>on a button: put a viewer that has its own window back into the main window</extracomment>
        <translation>Andocken</translation>
    </message>
    <message>
        <source>Put the viewer back into the main window</source>
        <translation>Die Ansicht in das Hauptfenster zurücksetzen</translation>
    </message>
</context>
<context>
    <name>obvista::TimeBar</name>
    <message>
        <source>Step back</source>
        <translation>Schritt zurück</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>Abspielen</translation>
    </message>
    <message>
        <source>Step forward</source>
        <translation>Schritt vor</translation>
    </message>
    <message>
        <source>Time in the recording</source>
        <translation>Zeit in der Aufzeichnung</translation>
    </message>
    <message>
        <source>The part of the recording that the robot shows. Space plays and pauses, the arrows step, Home and End go to its ends.</source>
        <translation>Der Teil der Aufzeichnung, den der Roboter zeigt. Die Leertaste spielt ab und hält an, die Pfeile gehen schrittweise, Pos1 und Ende gehen an die Enden.</translation>
    </message>
    <message>
        <source>Speed</source>
        <extracomment>of a replay</extracomment>
        <translation>Tempo</translation>
    </message>
    <message>
        <source>Recorded seconds per second</source>
        <translation>Sekunden der Aufzeichnung pro Sekunde</translation>
    </message>
    <message>
        <source>Begin again at the end</source>
        <translation>Am Ende von vorn beginnen</translation>
    </message>
    <message>
        <source>Time bar of a replay</source>
        <translation>Zeitleiste einer Wiedergabe</translation>
    </message>
    <message>
        <source>play or pause</source>
        <translation>abspielen oder anhalten</translation>
    </message>
    <message>
        <source>step to the previous or next change</source>
        <translation>zur vorigen oder nächsten Änderung gehen</translation>
    </message>
    <message>
        <source>move forward or back by a twentieth of the recording</source>
        <translation>um ein Zwanzigstel der Aufzeichnung vor- oder zurückgehen</translation>
    </message>
    <message>
        <source>go to the start or end of the recording</source>
        <translation>zum Anfang oder Ende der Aufzeichnung gehen</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>%1   %2 of %3</source>
        <extracomment>a time of day, the time since the start of a recording, and its length</extracomment>
        <translation>%1   %2 von %3</translation>
    </message>
    <message>
        <source>L&amp;oop</source>
        <translation>S&amp;chleife</translation>
    </message>
</context>
<context>
    <name>obvista::ViewerWidget</name>
    <message>
        <source>Every viewer</source>
        <translation>Jede Ansicht</translation>
    </message>
    <message>
        <source>list the keys of the viewer that has the focus</source>
        <translation>die Tasten der Ansicht mit dem Fokus auflisten</translation>
    </message>
    <message>
        <source>close the viewer</source>
        <translation>die Ansicht schließen</translation>
    </message>
    <message>
        <source>put the viewer into its own window, or back</source>
        <translation>die Ansicht in ein eigenes Fenster setzen oder zurück</translation>
    </message>
    <message>
        <source>go to the next control, or back</source>
        <translation>zum nächsten Bedienelement gehen oder zurück</translation>
    </message>
    <message>
        <source>Keys</source>
        <translation>Tasten</translation>
    </message>
    <message>
        <source>No answer for %1 s</source>
        <extracomment>%1 is the number of seconds since the robot was last heard.</extracomment>
        <translation>Seit %1 s keine Antwort</translation>
    </message>
    <message>
        <source>&quot;%1&quot; answers in the place of &quot;%2&quot;. Connect to it?</source>
        <extracomment>%1 is the robot that answers, %2 the one that was lost</extracomment>
        <translation>„%1“ antwortet anstelle von „%2“. Damit verbinden?</translation>
    </message>
    <message>
        <source>Lost %1 s ago; trying again</source>
        <translation>Seit %1 s getrennt; neuer Versuch läuft</translation>
    </message>
    <message>
        <source>Lost %1 min ago; trying again</source>
        <extracomment>%1 is a number of minutes</extracomment>
        <translation>Seit %1 min getrennt; neuer Versuch läuft</translation>
    </message>
</context>
<context>
    <name>viewer</name>
    <message>
        <source>Status: %1</source>
        <extracomment>%1 is the status line, for screen readers</extracomment>
        <translation>Status: %1</translation>
    </message>
</context>
</TS>
