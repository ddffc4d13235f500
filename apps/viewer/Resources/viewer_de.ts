<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>Viewer</name>
    <message>
        <source>16 bit</source>
        <translation>16 Bit</translation>
    </message>
    <message>
        <source>32 bit float</source>
        <translation>32 Bit Gleitkomma</translation>
    </message>
    <message>
        <source>RGB</source>
        <translation>RGB</translation>
    </message>
    <message>
        <source>RGBA</source>
        <translation>RGBA</translation>
    </message>
    <message>
        <source>8 bit</source>
        <translation>8 Bit</translation>
    </message>
    <message>
        <source>The image cannot be read: %1. Its record is shown.</source>
        <translation>Das Bild kann nicht gelesen werden: %1. Seine Aufzeichnung wird gezeigt.</translation>
    </message>
    <message>
        <source>The record cannot be read: %1</source>
        <translation>Die Aufzeichnung kann nicht gelesen werden: %1</translation>
    </message>
    <message>
        <source>This file has no acquisition record: positions and lengths are in pixels.</source>
        <translation>Diese Datei enthält keine Aufzeichnung: Orte und Längen sind in Pixeln angegeben.</translation>
    </message>
    <message>
        <source>The record has no pixel size: positions and lengths are in pixels.</source>
        <translation>Die Aufzeichnung enthält keine Pixelgröße: Orte und Längen sind in Pixeln angegeben.</translation>
    </message>
    <message>
        <source>Drop an image here, or open one with Ctrl+O.
F9 acquires one with the simulated detector.</source>
        <translation>Ziehen Sie ein Bild hierher oder öffnen Sie eines mit Strg+O.
F9 nimmt eines mit dem simulierten Detektor auf.</translation>
    </message>
    <message>
        <source>Reading</source>
        <translation>Liest</translation>
    </message>
    <message>
        <source>, the first of %1</source>
        <translation>, das erste von %1</translation>
    </message>
    <message>
        <source>Damaged: %1</source>
        <translation>Beschädigt: %1</translation>
    </message>
    <message>
        <source>There is no record.</source>
        <translation>Es gibt keine Aufzeichnung.</translation>
    </message>
    <message>
        <source>Live</source>
        <translation>Live</translation>
    </message>
    <message>
        <source>Viewer</source>
        <translation>Bildbetrachter</translation>
    </message>
    <message>
        <source>Acquired, not saved</source>
        <translation>Aufgenommen, nicht gespeichert</translation>
    </message>
    <message>
        <source>The record is made when the scan ends.</source>
        <translation>Die Aufzeichnung entsteht am Ende der Aufnahme.</translation>
    </message>
    <message>
        <source>Frame %1, line %2</source>
        <translation>Bild %1, Zeile %2</translation>
    </message>
    <message>
        <source>Writing</source>
        <translation>Schreibt</translation>
    </message>
    <message>
        <source>Save As</source>
        <translation>Speichern unter</translation>
    </message>
    <message>
        <source>Cancelled; nothing was written.</source>
        <translation>Abgebrochen; nichts wurde geschrieben.</translation>
    </message>
    <message>
        <source>Written: %1</source>
        <translation>Geschrieben: %1</translation>
    </message>
    <message>
        <source>Images (%1)</source>
        <translation>Bilder (%1)</translation>
    </message>
    <message>
        <source>All files (*)</source>
        <translation>Alle Dateien (*)</translation>
    </message>
    <message>
        <source>Open an Image</source>
        <translation>Bild öffnen</translation>
    </message>
    <message>
        <source>Export Profile</source>
        <translation>Profil exportieren</translation>
    </message>
    <message>
        <source>Text for spreadsheets (*.csv)</source>
        <translation>Text für Tabellen (*.csv)</translation>
    </message>
    <message>
        <source>Record as XML</source>
        <translation>Aufzeichnung als XML</translation>
    </message>
    <message>
        <source>There is no report of a fault.</source>
        <translation>Es gibt keinen Fehlerbericht.</translation>
    </message>
    <message>
        <source>The application has written a report of a fault.</source>
        <translation>Die Anwendung hat einen Fehlerbericht geschrieben.</translation>
    </message>
    <message>
        <source>Show the &amp;Report</source>
        <translation>Be&amp;richt zeigen</translation>
    </message>
    <message>
        <source>There is no image</source>
        <translation>Es gibt kein Bild</translation>
    </message>
    <message>
        <source>The image comes from no file</source>
        <translation>Das Bild stammt aus keiner Datei</translation>
    </message>
    <message>
        <source>A file is being written</source>
        <translation>Eine Datei wird geschrieben</translation>
    </message>
    <message>
        <source>There is no record</source>
        <translation>Es gibt keine Aufzeichnung</translation>
    </message>
    <message>
        <source>The detector is scanning</source>
        <translation>Der Detektor nimmt auf</translation>
    </message>
    <message>
        <source>The detector is not scanning</source>
        <translation>Der Detektor nimmt nicht auf</translation>
    </message>
    <message>
        <source>Nothing is being read or written</source>
        <translation>Nichts wird gelesen oder geschrieben</translation>
    </message>
    <message>
        <source>&amp;Continuously, until stopped</source>
        <translation>&amp;Fortlaufend, bis zum Anhalten</translation>
    </message>
    <message>
        <source>Sa&amp;ve when it ends</source>
        <translation>Am Ende &amp;speichern</translation>
    </message>
    <message>
        <source>&amp;Acquire</source>
        <translation>&amp;Aufnehmen</translation>
    </message>
    <message>
        <source>S&amp;top</source>
        <translation>An&amp;halten</translation>
    </message>
    <message>
        <source>Size of the scan</source>
        <translation>Größe der Aufnahme</translation>
    </message>
    <message>
        <source>Pixels of a line, and lines of the image</source>
        <translation>Pixel einer Zeile und Zeilen des Bildes</translation>
    </message>
    <message>
        <source>Dwell time</source>
        <translation>Verweilzeit</translation>
    </message>
    <message>
        <source>How long the beam stays on each pixel. More time gives less noise.</source>
        <translation>Wie lange der Strahl auf jedem Pixel bleibt. Mehr Zeit ergibt weniger Rauschen.</translation>
    </message>
    <message>
        <source>Writes the image and its record by the settings of File, File Names</source>
        <translation>Schreibt Bild und Aufzeichnung nach den Einstellungen unter Datei, Dateinamen</translation>
    </message>
    <message>
        <source>Begins a scan of the simulated detector (F9)</source>
        <translation>Beginnt eine Aufnahme mit dem simulierten Detektor (F9)</translation>
    </message>
    <message>
        <source>Ends the scan at the present line (F10)</source>
        <translation>Beendet die Aufnahme in der jetzigen Zeile (F10)</translation>
    </message>
    <message>
        <source>Course of the scan</source>
        <translation>Verlauf der Aufnahme</translation>
    </message>
    <message>
        <source>Si&amp;ze</source>
        <translation>&amp;Größe</translation>
    </message>
    <message>
        <source>&amp;Dwell time</source>
        <translation>&amp;Verweilzeit</translation>
    </message>
    <message>
        <source>Frame time</source>
        <translation>Bildzeit</translation>
    </message>
    <message>
        <source>Colours</source>
        <translation>Farben</translation>
    </message>
    <message>
        <source>The colours from black to white</source>
        <translation>Die Farben von Schwarz bis Weiß</translation>
    </message>
    <message>
        <source>&amp;Mark values outside</source>
        <translation>Werte außerhalb &amp;markieren</translation>
    </message>
    <message>
        <source>Automatic</source>
        <translation>Automatisch</translation>
    </message>
    <message>
        <source>All values</source>
        <translation>Alle Werte</translation>
    </message>
    <message>
        <source>By hand</source>
        <translation>Von Hand</translation>
    </message>
    <message>
        <source>Range</source>
        <translation>Bereich</translation>
    </message>
    <message>
        <source>Which values are shown from black to white</source>
        <translation>Welche Werte von Schwarz bis Weiß gezeigt werden</translation>
    </message>
    <message>
        <source>Values below black are shown in blue, values above white in red</source>
        <translation>Werte unter Schwarz werden blau gezeigt, Werte über Weiß rot</translation>
    </message>
    <message>
        <source>Percent below black</source>
        <translation>Prozent unter Schwarz</translation>
    </message>
    <message>
        <source>So many percent of the values may be darker than black</source>
        <translation>So viele Prozent der Werte dürfen dunkler als Schwarz sein</translation>
    </message>
    <message>
        <source>Percent up to white</source>
        <translation>Prozent bis Weiß</translation>
    </message>
    <message>
        <source>So many percent of the values may not be brighter than white</source>
        <translation>So viele Prozent der Werte dürfen nicht heller als Weiß sein</translation>
    </message>
    <message>
        <source>Black</source>
        <translation>Schwarz</translation>
    </message>
    <message>
        <source>This value is shown black</source>
        <translation>Dieser Wert wird schwarz gezeigt</translation>
    </message>
    <message>
        <source>White</source>
        <translation>Weiß</translation>
    </message>
    <message>
        <source>This value is shown white</source>
        <translation>Dieser Wert wird weiß gezeigt</translation>
    </message>
    <message>
        <source>Gamma</source>
        <translation>Gamma</translation>
    </message>
    <message>
        <source>More makes the middle brighter</source>
        <translation>Mehr macht die Mitte heller</translation>
    </message>
    <message>
        <source>&amp;Range</source>
        <translation>&amp;Bereich</translation>
    </message>
    <message>
        <source>&amp;Percentiles</source>
        <translation>&amp;Perzentile</translation>
    </message>
    <message>
        <source>&amp;Black, white</source>
        <translation>&amp;Schwarz, Weiß</translation>
    </message>
    <message>
        <source>&amp;Gamma</source>
        <translation>&amp;Gamma</translation>
    </message>
    <message>
        <source>&amp;Colours</source>
        <translation>&amp;Farben</translation>
    </message>
    <message>
        <source>Values %1 to %2, mean %3</source>
        <translation>Werte %1 bis %2, Mittel %3</translation>
    </message>
    <message>
        <source>Export Picture</source>
        <translation>Bild exportieren</translation>
    </message>
    <message>
        <source>PNG loses nothing; JPEG makes small files</source>
        <translation>PNG verliert nichts; JPEG ergibt kleine Dateien</translation>
    </message>
    <message>
        <source>&quot;original&quot;, a percentage, the longer side, or width x height in pixels</source>
        <translation>„original“, eine Prozentzahl, die längere Seite oder Breite x Höhe in Pixeln</translation>
    </message>
    <message>
        <source>Size of the picture</source>
        <translation>Größe des Bildes</translation>
    </message>
    <message>
        <source>&amp;Scale bar</source>
        <translation>&amp;Maßstab</translation>
    </message>
    <message>
        <source>Draws a bar of known length</source>
        <translation>Zeichnet einen Balken bekannter Länge</translation>
    </message>
    <message>
        <source>The image has no pixel size</source>
        <translation>Das Bild hat keine Pixelgröße</translation>
    </message>
    <message>
        <source>&amp;Data bar</source>
        <translation>&amp;Datenleiste</translation>
    </message>
    <message>
        <source>Writes the most important values below the image</source>
        <translation>Schreibt die wichtigsten Werte unter das Bild</translation>
    </message>
    <message>
        <source>The image has no record</source>
        <translation>Das Bild hat keine Aufzeichnung</translation>
    </message>
    <message>
        <source>&amp;Export...</source>
        <translation>&amp;Exportieren...</translation>
    </message>
    <message>
        <source>&amp;Format</source>
        <translation>&amp;Format</translation>
    </message>
    <message>
        <source>Choose...</source>
        <translation>Wählen...</translation>
    </message>
    <message>
        <source>Choose a folder</source>
        <translation>Ordner wählen</translation>
    </message>
    <message>
        <source>&amp;Folder</source>
        <translation>&amp;Ordner</translation>
    </message>
    <message>
        <source>Where acquired images go</source>
        <translation>Wohin aufgenommene Bilder kommen</translation>
    </message>
    <message>
        <source>The beginning of each name</source>
        <translation>Der Anfang jedes Namens</translation>
    </message>
    <message>
        <source>&amp;Name</source>
        <translation>&amp;Name</translation>
    </message>
    <message>
        <source>Directly before the number; may be empty</source>
        <translation>Direkt vor der Nummer; darf leer sein</translation>
    </message>
    <message>
        <source>&amp;Prefix of the number</source>
        <translation>&amp;Vorsatz der Nummer</translation>
    </message>
    <message>
        <source>The number is filled up with zeros</source>
        <translation>Die Nummer wird mit Nullen aufgefüllt</translation>
    </message>
    <message>
        <source>&amp;Digits of the number</source>
        <translation>&amp;Ziffern der Nummer</translation>
    </message>
    <message>
        <source>With commas between; {Magnification}, {Detector}, {DwellTime} and others are taken from the record</source>
        <translation>Durch Kommas getrennt; {Magnification}, {Detector}, {DwellTime} und andere kommen aus der Aufzeichnung</translation>
    </message>
    <message>
        <source>&amp;Labels</source>
        <translation>&amp;Zusätze</translation>
    </message>
    <message>
        <source>A folder for each &amp;day</source>
        <translation>Ein Ordner für jeden &amp;Tag</translation>
    </message>
    <message>
        <source>Export a PN&amp;G picture of each image, too</source>
        <translation>Von jedem Bild auch ein PN&amp;G exportieren</translation>
    </message>
    <message>
        <source>With scale bar and data bar</source>
        <translation>Mit Maßstab und Datenleiste</translation>
    </message>
    <message>
        <source>Folder of &amp;pictures</source>
        <translation>Ordner der &amp;Bilder</translation>
    </message>
    <message>
        <source>Empty: beside the images</source>
        <translation>Leer: neben den Aufnahmen</translation>
    </message>
    <message>
        <source>File Names</source>
        <translation>Dateinamen</translation>
    </message>
    <message>
        <source>Example</source>
        <translation>Beispiel</translation>
    </message>
    <message>
        <source>Histogram</source>
        <translation>Histogramm</translation>
    </message>
    <message>
        <source>How often each value occurs. Drag the lines to choose what is black and what is white.
Arrow keys move the range, with Shift its width changes.</source>
        <translation>Wie oft jeder Wert vorkommt. Ziehen Sie die Linien, um zu wählen, was schwarz und was weiß ist.
Pfeiltasten verschieben den Bereich, mit Umschalt ändert sich seine Breite.</translation>
    </message>
    <message>
        <source>Image</source>
        <translation>Bild</translation>
    </message>
    <message>
        <source>Arrow keys move the image, plus and minus change its size.</source>
        <translation>Pfeiltasten verschieben das Bild, Plus und Minus ändern seine Größe.</translation>
    </message>
    <message>
        <source>Trace</source>
        <translation>Spur</translation>
    </message>
    <message>
        <source>Debug</source>
        <translation>Entwicklung</translation>
    </message>
    <message>
        <source>Information</source>
        <translation>Hinweis</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Warnung</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Fatal</source>
        <translation>Schwerer Fehler</translation>
    </message>
    <message>
        <source>Lowest severity</source>
        <translation>Geringste Schwere</translation>
    </message>
    <message>
        <source>Records from this severity on are shown</source>
        <translation>Einträge ab dieser Schwere werden gezeigt</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>Severity</source>
        <translation>Schwere</translation>
    </message>
    <message>
        <source>Component</source>
        <translation>Teil</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>Text</translation>
    </message>
    <message>
        <source>Log</source>
        <translation>Protokoll</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Kopieren</translation>
    </message>
    <message>
        <source>C&amp;lear</source>
        <translation>&amp;Leeren</translation>
    </message>
    <message>
        <source>Empties this list. The log files stay.</source>
        <translation>Leert diese Liste. Die Protokolldateien bleiben.</translation>
    </message>
    <message>
        <source>&amp;Show from</source>
        <translation>&amp;Zeigen ab</translation>
    </message>
    <message>
        <source>Display</source>
        <translation>Anzeige</translation>
    </message>
    <message>
        <source>Acquisition</source>
        <translation>Aufnahme</translation>
    </message>
    <message>
        <source>Record</source>
        <translation>Aufzeichnung</translation>
    </message>
    <message>
        <source>Line Profile</source>
        <translation>Linienprofil</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>Fortschritt</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Ends the reading or writing (Esc)</source>
        <translation>Beendet das Lesen oder Schreiben (Esc)</translation>
    </message>
    <message>
        <source>Position of the pointer</source>
        <translation>Ort des Zeigers</translation>
    </message>
    <message>
        <source>Value under the pointer</source>
        <translation>Wert unter dem Zeiger</translation>
    </message>
    <message>
        <source>Size and kind of the image</source>
        <translation>Größe und Art des Bildes</translation>
    </message>
    <message>
        <source>Size on the screen</source>
        <translation>Größe auf dem Bildschirm</translation>
    </message>
    <message>
        <source>Tools</source>
        <translation>Werkzeuge</translation>
    </message>
    <message>
        <source>&amp;Panels</source>
        <translation>&amp;Felder</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Open...</source>
        <translation>Ö&amp;ffnen...</translation>
    </message>
    <message>
        <source>Opens an image file</source>
        <translation>Öffnet eine Bilddatei</translation>
    </message>
    <message>
        <source>Open &amp;Recent</source>
        <translation>&amp;Zuletzt geöffnet</translation>
    </message>
    <message>
        <source>Re&amp;load</source>
        <translation>&amp;Neu laden</translation>
    </message>
    <message>
        <source>Reads the file again</source>
        <translation>Liest die Datei noch einmal</translation>
    </message>
    <message>
        <source>&amp;Previous Image</source>
        <translation>&amp;Voriges Bild</translation>
    </message>
    <message>
        <source>The image before this one in its folder</source>
        <translation>Das Bild vor diesem in seinem Ordner</translation>
    </message>
    <message>
        <source>&amp;Next Image</source>
        <translation>Nä&amp;chstes Bild</translation>
    </message>
    <message>
        <source>The next image in the folder</source>
        <translation>Das nächste Bild im Ordner</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Speichern</translation>
    </message>
    <message>
        <source>Saves image and record under the next name of the settings</source>
        <translation>Speichert Bild und Aufzeichnung unter dem nächsten Namen der Einstellungen</translation>
    </message>
    <message>
        <source>Save &amp;As...</source>
        <translation>Speichern &amp;unter...</translation>
    </message>
    <message>
        <source>Saves image and record in a TIFF file of a name that you choose</source>
        <translation>Speichert Bild und Aufzeichnung in einer TIFF-Datei, deren Namen Sie wählen</translation>
    </message>
    <message>
        <source>&amp;Export Picture...</source>
        <translation>Bild &amp;exportieren...</translation>
    </message>
    <message>
        <source>Writes a picture for reports, with scale bar and data bar</source>
        <translation>Schreibt ein Bild für Berichte, mit Maßstab und Datenleiste</translation>
    </message>
    <message>
        <source>File Na&amp;mes...</source>
        <translation>Datei&amp;namen...</translation>
    </message>
    <message>
        <source>Where acquired images go and how they are named</source>
        <translation>Wohin aufgenommene Bilder kommen und wie sie heißen</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>A&amp;bbrechen</translation>
    </message>
    <message>
        <source>Ends the reading or writing of a file</source>
        <translation>Beendet das Lesen oder Schreiben einer Datei</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>B&amp;eenden</translation>
    </message>
    <message>
        <source>Closes the window</source>
        <translation>Schließt das Fenster</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message>
        <source>&amp;Fit</source>
        <translation>&amp;Einpassen</translation>
    </message>
    <message>
        <source>Shows the whole image</source>
        <translation>Zeigt das ganze Bild</translation>
    </message>
    <message>
        <source>&amp;1:1</source>
        <translation>&amp;1:1</translation>
    </message>
    <message>
        <source>One pixel of the image is one of the screen</source>
        <translation>Ein Pixel des Bildes ist eines des Bildschirms</translation>
    </message>
    <message>
        <source>&amp;Larger</source>
        <translation>&amp;Größer</translation>
    </message>
    <message>
        <source>Shows the image larger (mouse wheel)</source>
        <translation>Zeigt das Bild größer (Mausrad)</translation>
    </message>
    <message>
        <source>&amp;Smaller</source>
        <translation>&amp;Kleiner</translation>
    </message>
    <message>
        <source>Shows the image smaller (mouse wheel)</source>
        <translation>Zeigt das Bild kleiner (Mausrad)</translation>
    </message>
    <message>
        <source>Full S&amp;creen</source>
        <translation>&amp;Vollbild</translation>
    </message>
    <message>
        <source>The window takes the whole screen</source>
        <translation>Das Fenster nimmt den ganzen Bildschirm ein</translation>
    </message>
    <message>
        <source>&amp;Measure</source>
        <translation>&amp;Messen</translation>
    </message>
    <message>
        <source>&amp;Move</source>
        <translation>&amp;Verschieben</translation>
    </message>
    <message>
        <source>Dragging moves the image</source>
        <translation>Ziehen verschiebt das Bild</translation>
    </message>
    <message>
        <source>&amp;Distance</source>
        <translation>&amp;Abstand</translation>
    </message>
    <message>
        <source>Dragging measures a distance</source>
        <translation>Ziehen misst einen Abstand</translation>
    </message>
    <message>
        <source>&amp;Profile</source>
        <translation>&amp;Profil</translation>
    </message>
    <message>
        <source>Dragging shows the values along a line</source>
        <translation>Ziehen zeigt die Werte entlang einer Linie</translation>
    </message>
    <message>
        <source>Begins a scan of the simulated detector</source>
        <translation>Beginnt eine Aufnahme mit dem simulierten Detektor</translation>
    </message>
    <message>
        <source>Ends the scan at the present line</source>
        <translation>Beendet die Aufnahme in der jetzigen Zeile</translation>
    </message>
    <message>
        <source>Fa&amp;ults</source>
        <translation>&amp;Fehler</translation>
    </message>
    <message>
        <source>&amp;Warning</source>
        <translation>&amp;Warnung</translation>
    </message>
    <message>
        <source>What a warning looks like</source>
        <translation>Wie eine Warnung aussieht</translation>
    </message>
    <message>
        <source>&amp;Error</source>
        <translation>&amp;Fehler</translation>
    </message>
    <message>
        <source>What an error looks like</source>
        <translation>Wie ein Fehler aussieht</translation>
    </message>
    <message>
        <source>Error With &amp;Code</source>
        <translation>Fehler mit &amp;Nummer</translation>
    </message>
    <message>
        <source>An error with the number of an instrument</source>
        <translation>Ein Fehler mit der Nummer eines Geräts</translation>
    </message>
    <message>
        <source>E&amp;xception on a Worker</source>
        <translation>&amp;Ausnahme auf einem Arbeits-Thread</translation>
    </message>
    <message>
        <source>An exception that nobody catches</source>
        <translation>Eine Ausnahme, die niemand fängt</translation>
    </message>
    <message>
        <source>&amp;Fault on a Worker</source>
        <translation>&amp;Absturz eines Arbeits-Threads</translation>
    </message>
    <message>
        <source>A write to nowhere on another thread</source>
        <translation>Ein Schreiben ins Nichts auf einem anderen Thread</translation>
    </message>
    <message>
        <source>Fault on the &amp;Main Thread</source>
        <translation>Absturz des &amp;Haupt-Threads</translation>
    </message>
    <message>
        <source>A write to nowhere. The report is written and the application ends.</source>
        <translation>Ein Schreiben ins Nichts. Der Bericht wird geschrieben, und die Anwendung endet.</translation>
    </message>
    <message>
        <source>Show the &amp;Last Report</source>
        <translation>&amp;Letzten Bericht zeigen</translation>
    </message>
    <message>
        <source>The newest report of a fault of this application</source>
        <translation>Der neueste Fehlerbericht dieser Anwendung</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>&amp;About</source>
        <translation>Ü&amp;ber</translation>
    </message>
    <message>
        <source>Versions, and where logs and reports are</source>
        <translation>Versionen, und wo Protokolle und Berichte liegen</translation>
    </message>
    <message>
        <source>Close the message</source>
        <translation>Meldung schließen</translation>
    </message>
    <message>
        <source>Line profile</source>
        <translation>Linienprofil</translation>
    </message>
    <message>
        <source>Choose &quot;Profile&quot; and drag a line on the image.</source>
        <translation>Wählen Sie „Profil“ und ziehen Sie eine Linie auf dem Bild.</translation>
    </message>
    <message>
        <source>E&amp;xport Profile...</source>
        <translation>Profil e&amp;xportieren...</translation>
    </message>
    <message>
        <source>Start x</source>
        <translation>Anfang x</translation>
    </message>
    <message>
        <source>Start y</source>
        <translation>Anfang y</translation>
    </message>
    <message>
        <source>End x</source>
        <translation>Ende x</translation>
    </message>
    <message>
        <source>End y</source>
        <translation>Ende y</translation>
    </message>
    <message>
        <source>&amp;From</source>
        <translation>&amp;Von</translation>
    </message>
    <message>
        <source>&amp;to</source>
        <translation>&amp;bis</translation>
    </message>
    <message>
        <source>%1, in pixels of the image</source>
        <translation>%1, in Pixeln des Bildes</translation>
    </message>
    <message>
        <source>Length</source>
        <translation>Länge</translation>
    </message>
    <message>
        <source>Writes the values along the line to a text file for spreadsheets</source>
        <translation>Schreibt die Werte entlang der Linie in eine Textdatei für Tabellen</translation>
    </message>
    <message>
        <source>Show &amp;XML...</source>
        <translation>&amp;XML zeigen...</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <source>Search in the record</source>
        <translation>In der Aufzeichnung suchen</translation>
    </message>
    <message>
        <source>Shows the fields whose name or value contains this text</source>
        <translation>Zeigt die Felder, deren Name oder Wert diesen Text enthält</translation>
    </message>
    <message>
        <source>Field</source>
        <translation>Feld</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>Wert</translation>
    </message>
    <message>
        <source>Shows the document as it stands in the file</source>
        <translation>Zeigt das Dokument, wie es in der Datei steht</translation>
    </message>
    <message>
        <source>C&amp;opy All</source>
        <translation>Alles &amp;kopieren</translation>
    </message>
    <message>
        <source>Open &amp;Folder</source>
        <translation>&amp;Ordner öffnen</translation>
    </message>
    <message>
        <source>Viewer %1

Shows and acquires images of electron microscopes with their records.

Library: %2
Qt: %3
System: %4
Renderer: %5, raster
Screen: %6 x %7 pixels, factor %8

Log files: %9
Reports of faults: %10</source>
        <translation>Bildbetrachter %1

Zeigt Bilder von Elektronenmikroskopen mit ihren Aufzeichnungen und nimmt sie auf.

Bibliothek: %2
Qt: %3
System: %4
Darstellung: %5, Raster
Bildschirm: %6 x %7 Pixel, Faktor %8

Protokolle: %9
Fehlerberichte: %10</translation>
    </message>
    <message>
        <source>About the Viewer</source>
        <translation>Über den Bildbetrachter</translation>
    </message>
    <message>
        <source>Open &amp;Log Folder</source>
        <translation>&amp;Protokollordner öffnen</translation>
    </message>
    <message>
        <source>The detector is scanning. End the scan, and save the acquired image?</source>
        <translation>Der Detektor nimmt auf. Die Aufnahme beenden und das Bild speichern?</translation>
    </message>
    <message>
        <source>Save the acquired image? Otherwise it is lost.</source>
        <translation>Das aufgenommene Bild speichern? Sonst geht es verloren.</translation>
    </message>
    <message>
        <source>%1 exists. Replace it?</source>
        <translation>%1 gibt es schon. Ersetzen?</translation>
    </message>
    <message>
        <source>TIFF with all data</source>
        <translation>TIFF mit allen Daten</translation>
    </message>
    <message>
        <source>TIFF image</source>
        <translation>TIFF-Bild</translation>
    </message>
    <message>
        <source>PNG image</source>
        <translation>PNG-Bild</translation>
    </message>
    <message>
        <source>JPEG image</source>
        <translation>JPEG-Bild</translation>
    </message>
</context>
</TS>
